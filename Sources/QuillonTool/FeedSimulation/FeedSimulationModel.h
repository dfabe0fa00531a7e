#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "QuillonTool/FeedSimulation/FeedArchiveSizes.h"
#include "QuillonTool/FeedSimulation/FeedAudience.h"
#include "QuillonTool/FeedSimulation/FeedInstalledVersions.h"
#include "QuillonTool/FeedSimulation/FeedPopulation.h"
#include "QuillonTool/FeedSimulation/FeedSimulationPeriod.h"
#include "QuillonUpdatesCore/VeskUpdateFeed.h"
#include "QuillonUpdatesCore/VeskUpdateFeedPipelineEvaluator.h"

namespace quillon {

/// What a simulation is about, and what the system's own evaluator says to it. May be used from several threads.
///
/// Of a host it models automatic checks with feed processing on and nothing remembered of earlier prompts. Whoever is
/// offered an update installs it at once.
class FeedSimulationModel {
 public:
  /// `feed` has to outlive the model, `population` is valid.
  FeedSimulationModel(const VeskUpdateFeed& feed, FeedPopulation population, FeedSimulationPeriod period,
                      std::optional<std::int64_t> archiveSize, const std::shared_ptr<const QuillonCalendar>& calendar);

  [[nodiscard]] const VeskUpdateFeed& feed() const noexcept { return feed_; }
  [[nodiscard]] const FeedPopulation& population() const noexcept { return population_; }
  [[nodiscard]] const FeedSimulationPeriod& period() const noexcept { return period_; }
  [[nodiscard]] const FeedInstalledVersions& states() const noexcept { return states_; }
  [[nodiscard]] const FeedArchiveSizes& archiveSizes() const noexcept { return archiveSizes_; }

  /// What all installs of `audience` tell the evaluator: all but version, build and date.
  [[nodiscard]] VeskUpdateFeedApplicabilityContext contextOf(const FeedAudience& audience) const;
  /// The entry that the evaluator offers to an install; absent for none.
  [[nodiscard]] std::optional<std::size_t> offeredEntry(const VeskUpdateFeedApplicabilityContext& context) const;

 private:
  const VeskUpdateFeed& feed_;
  FeedPopulation population_;
  FeedSimulationPeriod period_;
  FeedInstalledVersions states_;
  FeedArchiveSizes archiveSizes_;
  VeskUpdateFeedPipelineEvaluator evaluator_;
  VeskUpdateVersionComparing versionComparator_;
};

}  // namespace quillon
