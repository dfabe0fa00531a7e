#pragma once

#include <optional>

#include "QuillonUpdatesCore/VeskUpdateFeedEligibilityEvaluator.h"
#include "QuillonUpdatesCore/VeskUpdateFeedProcessingCandidate.h"

namespace quillon {

/// Chooses an entry of a feed. May be called from any thread.
struct VeskUpdateFeedProcessingEvaluator {
  VeskUpdateFeedEligibilityEvaluator eligibilityEvaluator;

  /// The first entry that concerns the installation and is to be processed at this check; later ones are not looked
  /// at. The order of a feed is thus the priority of its entries.
  [[nodiscard]] std::optional<VeskUpdateFeedProcessingCandidate> selectFirstProcessable(
      const VeskUpdateFeed& feed, const VeskUpdateFeedApplicabilityContext& applicabilityContext,
      const VeskUpdateFeedDisplayContext& display, const VeskUpdateVersionComparing& versionComparator) const;
};

}  // namespace quillon
