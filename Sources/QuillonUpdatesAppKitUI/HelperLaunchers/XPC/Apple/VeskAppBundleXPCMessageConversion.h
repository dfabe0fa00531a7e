#pragma once

#import <Foundation/Foundation.h>

#include "QuillonCore/Values/QuillonPropertyListValue.h"

namespace quillon {

/// What arrived on a connection. A dictionary with a key that is no text counts as an empty one, which no reader of a
/// message accepts. A value that cannot be converted (see QuillonFoundationConversion.h) is an empty array: it is
/// there, and of no type that a message has.
[[nodiscard]] QuillonPropertyListValue::Dictionary receivedXPCMessage(NSDictionary* message) noexcept;

}  // namespace quillon
