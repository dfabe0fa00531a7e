#pragma once

#include <string_view>

namespace quillon {

/// Size of a window's content in points.
struct VeskUpdatePromptWindowSize {
  double width = 0;
  double height = 0;

  friend bool operator==(const VeskUpdatePromptWindowSize&, const VeskUpdatePromptWindowSize&) = default;
};

/// What a prompt is at least, so that its texts and buttons have room.
inline constexpr VeskUpdatePromptWindowSize kSmallestPromptWindow{.width = 400, .height = 300};
/// What a prompt is at most. A view makes it smaller still where the screen is.
inline constexpr VeskUpdatePromptWindowSize kLargestPromptWindow{.width = 2000, .height = 1500};
/// What a prompt is where not even the host's default can be used.
inline constexpr VeskUpdatePromptWindowSize kOrdinaryPromptWindow{.width = 640, .height = 520};

/// The size in a text like "{640, 480}", read as macOS's NSSizeFromString does: the first number in the text is the
/// width and the second one the height, whatever stands around them; what is missing is 0. A number has a sign, digits,
/// a period and an exponent as C writes them; one that no double holds is infinite.
[[nodiscard]] VeskUpdatePromptWindowSize sizeFromString(std::string_view text) noexcept;

/// The size that a prompt gets when its entry asks for `size`. Each measure by itself: one that is not above 0 or not
/// finite is that of `defaultSize`, else that of kOrdinaryPromptWindow, and all are brought between the smallest and
/// the largest.
[[nodiscard]] VeskUpdatePromptWindowSize usablePromptWindowSize(const VeskUpdatePromptWindowSize& size,
                                                                const VeskUpdatePromptWindowSize& defaultSize) noexcept;

}  // namespace quillon
