#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace quillon {

/// The size of a file for people: "Zero KB", "1 byte", "999 bytes", "12 KB", "12.3 MB", "1.20 GB".
///
/// The rules are those that macOS documents for NSByteCountFormatter with the count style "file" and zero-padded
/// fraction digits: 1000 bytes are a kilobyte; no fraction digits for bytes and kilobytes, one for megabytes, two
/// above. What would round to 1000 of a unit is 1 of the next. Units reach to EB, so that no count has more than three
/// digits before its decimal separator and digits are never grouped. A negative count is the positive one after "-".
///
/// `language` is a language tag (BCP 47; '_' for '-' is accepted), of which English, German, French, Spanish, Italian,
/// Portuguese, Dutch, Polish, Russian, Ukrainian, Turkish, Japanese, Korean and both ways to write Chinese are known;
/// every other is as English.
[[nodiscard]] std::string formattedFileByteCount(std::int64_t bytes, std::string_view language);

}  // namespace quillon
