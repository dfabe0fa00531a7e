#pragma once

#include <optional>
#include <string_view>

namespace quillon {

/// A range of versions as the feed writes it, split as hosts split it. Views into the feed.
struct FeedVersionRange {
  std::string_view low;
  /// Absent without a hyphen; everything from `low` on is admitted then.
  std::optional<std::string_view> high;
  /// Stands between two hyphens and counts for nothing.
  bool hasPiecesBetween = false;

  [[nodiscard]] static FeedVersionRange parse(std::string_view text) noexcept;
};

// The order of versions has corners where it is not transitive: 1.0 is older than 1.0.0b1, which is older than 1.0.0,
// which is the same as 1.0. What follows is said about all versions that there can be, so it holds for bounds that are
// plain: numbers with single periods between them, and no longer than versions are. Between those the order is that of
// the numbers, but for trailing zeros, which each function takes care of. Of other bounds nothing is claimed.

/// Whether `version` is made of ASCII numbers with single periods between them, and short enough for a version.
[[nodiscard]] bool isPlainVersion(std::string_view version) noexcept;

/// True when no version is within `range`. False says nothing.
[[nodiscard]] bool admitsNothing(const FeedVersionRange& range);

/// True when every version that the range `inner` admits is admitted by `outer`; an empty text admits all. False says
/// nothing.
[[nodiscard]] bool admitsEverythingOf(std::string_view outer, std::string_view inner);

/// True when `version` is newer than no version that `range` admits. False says nothing.
[[nodiscard]] bool isNewerThanNothingIn(const FeedVersionRange& range, std::string_view version);

/// True when every version that is older than `b` is older than `a`. False says nothing.
[[nodiscard]] bool isNewerWherever(std::string_view a, std::string_view b);

}  // namespace quillon
