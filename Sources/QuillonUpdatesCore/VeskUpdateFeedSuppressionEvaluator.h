#pragma once

#include "QuillonUpdatesCore/VeskUpdateFeed.h"

namespace quillon {

/// What the suppression of a feed depends on: nothing.
struct VeskUpdateFeedSuppressionContext {
  friend bool operator==(const VeskUpdateFeedSuppressionContext&, const VeskUpdateFeedSuppressionContext&) = default;
};

/// Whether a feed is kept from its user.
struct VeskUpdateFeedSuppressionResult {
  bool isSuppressed = false;

  friend bool operator==(const VeskUpdateFeedSuppressionResult&, const VeskUpdateFeedSuppressionResult&) = default;
};

/// The step before an entry is chosen. It suppresses no feed.
struct VeskUpdateFeedSuppressionEvaluator {
  [[nodiscard]] VeskUpdateFeedSuppressionResult evaluate(
      const VeskUpdateFeed& feed, const VeskUpdateFeedSuppressionContext& context) const noexcept;
};

}  // namespace quillon
