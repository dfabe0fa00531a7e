#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "QuillonTool/FeedLint/FeedFinding.h"
#include "QuillonUpdatesCore/VeskUpdateFeed.h"

namespace quillon {

/// What is to be said about a feed.
struct FeedLintReport {
  std::size_t entryCount = 0;
  /// Of the feed as a whole first, then in the order of the entries.
  std::vector<FeedFinding> findings = {};

  [[nodiscard]] std::size_t count(FeedFindingSeverity severity) const noexcept;
};

/// Checks every entry of `feed`, in time that grows with the feed. No feed makes it fail.
[[nodiscard]] FeedLintReport lintFeed(const VeskUpdateFeed& feed);

/// The same for the bytes of a feed; for those that are none the report says why.
[[nodiscard]] FeedLintReport lintFeedBytes(std::string bytes);

}  // namespace quillon
