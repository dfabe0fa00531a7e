#pragma once

#import <Foundation/Foundation.h>

#include "QuillonCore/Values/QuillonPropertyListValue.h"

namespace quillon {

/// What arrived on a connection. A dictionary that cannot be converted (see QuillonFoundationConversion.h) counts as an
/// empty one, which no reader of a message accepts.
[[nodiscard]] QuillonPropertyListValue::Dictionary receivedXPCMessage(NSDictionary* message) noexcept;

}  // namespace quillon
