#pragma once

#import <Foundation/Foundation.h>

#include <optional>
#include <string>
#include <string_view>

#include "QuillonCore/Values/QuillonPropertyListValue.h"
#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

// Values of this system and objects of Foundation. What has no counterpart on the other side is nil or absent, never
// something similar. Objects that are returned belong to the autorelease pool.

/// Levels of arrays and dictionaries that are converted; what is nested deeper has no counterpart.
inline constexpr int kDeepestFoundationConversion = 512;

/// Nil for text that is not UTF-8.
[[nodiscard]] NSString* toNSString(std::string_view text) noexcept;
/// Absent for nil, and for text that no UTF-8 holds (half of a surrogate pair).
[[nodiscard]] std::optional<std::string> fromNSString(NSString* text);

/// Nil for a path or text that is not UTF-8, and for text that Foundation takes for no URL.
[[nodiscard]] NSURL* toNSURL(const QuillonURL& url) noexcept;
/// Absent for nil, and for what QuillonURL::parse refuses.
[[nodiscard]] std::optional<QuillonURL> fromNSURL(NSURL* url);

/// Booleans, integers, reals, texts, data, dates, arrays and dictionaries as NSNumber, NSString, NSData, NSDate,
/// NSArray and NSDictionary; dates by their seconds, in which microseconds are rounded. Nil when any text in `value` is
/// not UTF-8, or when it is nested too deep.
[[nodiscard]] id toPropertyListObject(const QuillonPropertyListValue& value) noexcept;
[[nodiscard]] NSDictionary* toNSDictionary(const QuillonPropertyListValue::Dictionary& dictionary) noexcept;

/// The same backwards; numbers that were made of a C++ or Objective-C Boolean are Booleans. Absent when any part is of
/// another class, a text or key that cannot be converted, a key that is no text, an integer above 9223372036854775807,
/// a date beyond what microseconds in 64 bits reach, or nested too deep: nothing is left out silently.
[[nodiscard]] std::optional<QuillonPropertyListValue> fromPropertyListObject(id object);
[[nodiscard]] std::optional<QuillonPropertyListValue::Dictionary> fromNSDictionary(NSDictionary* dictionary);

}  // namespace quillon
