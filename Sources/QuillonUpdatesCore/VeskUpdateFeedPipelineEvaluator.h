#pragma once

#include "QuillonUpdatesCore/VeskUpdateFeedPipelineResult.h"
#include "QuillonUpdatesCore/VeskUpdateFeedProcessingEvaluator.h"

namespace quillon {

/// A whole check of a feed, without consequences: VeskUpdateFeedPipelineApplier draws those. May be called from any
/// thread.
struct VeskUpdateFeedPipelineEvaluator {
  VeskUpdateFeedSuppressionEvaluator suppressionEvaluator;
  VeskUpdateFeedProcessingEvaluator processingEvaluator;

  /// The result refers to entries of `feed`, which has to outlive it.
  [[nodiscard]] VeskUpdateFeedPipelineResult evaluate(const VeskUpdateFeed& feed,
                                                      const VeskUpdateFeedSuppressionContext& suppressionContext,
                                                      const VeskUpdateFeedApplicabilityContext& applicability,
                                                      const VeskUpdateFeedDisplayContext& display,
                                                      const VeskUpdateVersionComparing& versionComparator) const;
};

}  // namespace quillon
