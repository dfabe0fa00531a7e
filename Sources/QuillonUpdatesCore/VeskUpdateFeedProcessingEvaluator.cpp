#include "QuillonUpdatesCore/VeskUpdateFeedProcessingEvaluator.h"

#include <utility>

#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonUpdatesCore/VeskUpdateFeedKeys.h"

namespace quillon {

std::optional<VeskUpdateFeedProcessingCandidate> VeskUpdateFeedProcessingEvaluator::selectFirstProcessable(
    const VeskUpdateFeed& feed, const VeskUpdateFeedApplicabilityContext& applicabilityContext,
    const VeskUpdateFeedDisplayContext& display, const VeskUpdateVersionComparing& versionComparator) const {
  for (const VeskUpdateFeedEntry entry : feed) {
    if (stringOrEmpty(entry, VeskUpdateFeedKeys::type) != VeskUpdateFeedKeys::updateType) continue;
    VeskUpdateFeedApplicabilityResult applicability =
        eligibilityEvaluator.evaluateApplicability(entry, applicabilityContext, versionComparator);
    if (!applicability.shouldProcessFeed) continue;
    VeskUpdateFeedDisplayResult shown =
        eligibilityEvaluator.evaluateDisplay(entry, applicability, display, versionComparator);
    if (!shown.isEligibleForProcessing || !shown.resolvedFeedIdentifier) continue;
    return VeskUpdateFeedProcessingCandidate{entry, std::move(applicability), std::move(shown)};
  }
  return std::nullopt;
}

}  // namespace quillon
