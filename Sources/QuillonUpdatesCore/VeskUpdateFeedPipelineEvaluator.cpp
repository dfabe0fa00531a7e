#include "QuillonUpdatesCore/VeskUpdateFeedPipelineEvaluator.h"

namespace quillon {

VeskUpdateFeedPipelineResult VeskUpdateFeedPipelineEvaluator::evaluate(
    const VeskUpdateFeed& feed, const VeskUpdateFeedSuppressionContext& suppressionContext,
    const VeskUpdateFeedApplicabilityContext& applicability, const VeskUpdateFeedDisplayContext& display,
    const VeskUpdateVersionComparing& versionComparator) const {
  return {
      .suppression = suppressionEvaluator.evaluate(feed, suppressionContext),
      .selectedCandidate = processingEvaluator.selectFirstProcessable(feed, applicability, display, versionComparator)};
}

}  // namespace quillon
