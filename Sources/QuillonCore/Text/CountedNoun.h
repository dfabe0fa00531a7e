#pragma once

#include <concepts>
#include <string>
#include <string_view>

namespace quillon {

/// A number of things in English: "1 entry", "2 entries". For texts that are not translated.
template <std::integral Integer>
[[nodiscard]] std::string countedNoun(Integer count, std::string_view one, std::string_view several) {
  return std::to_string(count).append(" ").append(count == 1 ? one : several);
}

}  // namespace quillon
