#pragma once

#import <AppKit/AppKit.h>

#include <string_view>

namespace quillon {

/// The first view below `view`, at any depth, that is of `type` and has the accessibility identifier; nil when there is
/// none, and for no view.
[[nodiscard]] id veskUpdateProgressDescendant(NSView* view, Class type, std::string_view accessibilityIdentifier);

}  // namespace quillon
