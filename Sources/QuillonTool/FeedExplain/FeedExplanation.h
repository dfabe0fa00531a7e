#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "QuillonTool/FeedExplain/FeedEntryTrace.h"
#include "QuillonUpdatesCore/VeskUpdateFeedApplicabilityResult.h"
#include "QuillonUpdatesCore/VeskUpdateFeedDisplayResult.h"

namespace quillon {

/// Everything that a host finds out about an entry, and why.
struct FeedEntryExplanation {
  std::size_t index = 0;
  VeskUpdateFeedApplicabilityResult applicability;
  VeskUpdateFeedDisplayResult display;
  std::vector<FeedEntryTest> tests;

  /// The first test that failed; null when none did.
  [[nodiscard]] const FeedEntryTest* decidingTest() const noexcept;
  /// The members index, applicability, display and tests.
  [[nodiscard]] QuillonToolJSONObject json() const;
};

/// The fields of a result by their names; dates are ISO 8601.
[[nodiscard]] QuillonToolJSONObject jsonOf(const VeskUpdateFeedApplicabilityResult& result);
[[nodiscard]] QuillonToolJSONObject jsonOf(const VeskUpdateFeedDisplayResult& result);

/// Explains every entry of `feed` in turn, and returns the position of the one that a host in `context` would offer.
std::optional<std::size_t> explainFeed(const VeskUpdateFeed& feed, const FeedCheckContext& context,
                                       const std::function<void(const FeedEntryExplanation&)>& explained);

}  // namespace quillon
