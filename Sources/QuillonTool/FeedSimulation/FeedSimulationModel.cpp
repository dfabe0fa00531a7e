#include "QuillonTool/FeedSimulation/FeedSimulationModel.h"

#include <algorithm>
#include <utility>

#include "QuillonUpdatesCore/VeskUpdateVersionComparison.h"

namespace quillon {

FeedSimulationModel::FeedSimulationModel(const VeskUpdateFeed& feed, FeedPopulation population,
                                         FeedSimulationPeriod period, std::optional<std::int64_t> archiveSize,
                                         const std::shared_ptr<const QuillonCalendar>& calendar)
    : feed_(feed),
      population_(std::move(population)),
      period_(std::move(period)),
      states_(population_.versions, feed),
      archiveSizes_(feed, archiveSize),
      evaluator_{.suppressionEvaluator = {},
                 .processingEvaluator = {.eligibilityEvaluator = VeskUpdateFeedEligibilityEvaluator(calendar)}},
      versionComparator_(VeskUpdateVersionComparison::compare) {}

VeskUpdateFeedApplicabilityContext FeedSimulationModel::contextOf(const FeedAudience& audience) const {
  VeskUpdateFeedApplicabilityContext context;
  context.currentOSVersion = population_.osVersions[audience.osVersion].value;
  context.preferredLanguageCode = population_.languages[audience.language].value;
  const std::string& sku = population_.skus[audience.sku].value;
  if (!sku.empty()) context.acceptedSKUs = {sku};
  context.canProcessUpdateFeeds = true;
  context.checkForBetaReleasesEnabled = audience.wantsBetas;
  context.shouldApplyUserStaggering = true;
  context.userStaggerGroup = population_.staggerGroups[audience.staggerGroup].value;
  return context;
}

std::optional<std::size_t> FeedSimulationModel::offeredEntry(const VeskUpdateFeedApplicabilityContext& context) const {
  VeskUpdateFeedDisplayContext display;
  display.appVersion = context.appVersion;
  display.canProcessUpdateFeeds = context.canProcessUpdateFeeds;
  display.now = context.now;
  const VeskUpdateFeedPipelineResult result = evaluator_.evaluate(feed_, {}, context, display, versionComparator_);
  if (!result.selectedCandidate) return std::nullopt;
  std::size_t index = 0;
  for (const VeskUpdateFeedEntry entry : feed_) {
    if (entry.isSameAs(result.selectedCandidate->feed)) break;
    ++index;
  }
  return index;
}

}  // namespace quillon
