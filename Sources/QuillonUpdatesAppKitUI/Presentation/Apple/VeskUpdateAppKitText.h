#pragma once

#import <AppKit/AppKit.h>

#include <string>
#include <string_view>

namespace quillon {

// Texts and names of views. Objects that are returned belong to the autorelease pool and are never nil.

/// `text` as plain text in one line.
[[nodiscard]] NSString* singleLineNSString(std::string_view text);
/// `text` as plain text with its newlines.
[[nodiscard]] NSString* multiLineNSString(std::string_view text);
/// One of this system's identifiers.
[[nodiscard]] NSString* identifierNSString(std::string_view identifier);

/// A label in one line, cut off at its end where there is no room, for which it asks with the priority 250 only.
[[nodiscard]] NSTextField* makeSingleLineLabel(std::string_view identifier);
/// A label that breaks into at most `lineCount` lines.
[[nodiscard]] NSTextField* makeWrappingLabel(std::string_view identifier, const std::string& text, NSInteger lineCount);

}  // namespace quillon
