#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "QuillonCore/Runtime/QuillonSystemCalendar.h"
#include "QuillonTool/FeedSimulation/FeedSimulation.h"
#include "QuillonTool/FeedSimulation/FeedSimulationReport.h"
#include "QuillonUpdatesCoreTests/FeedMaking.h"

namespace quillon::testing {

inline constexpr std::chrono::year_month_day kFirstDay = std::chrono::June / 10 / 2024;

/// Three installs in four have version 1.0, the others 2.0; they check each day, in groups 0 and 1; nobody wants betas.
inline FeedPopulation smallPopulation() {
  FeedPopulation population;
  population.versions = {{.value = {.version = "1.0"}, .weight = 3}, {.value = {.version = "2.0"}, .weight = 1}};
  population.osVersions = {{.value = "14.0"}};
  population.languages = {{.value = "en"}};
  population.skus = {{.value = ""}};
  population.staggerGroups = {{.value = 0}, {.value = 1}};
  population.checkHours = {{.value = 24}};
  return population;
}

/// Offers 2.0 to everyone with an older version, from June 10, 2024 on.
inline FeedDictionary updateEntry() {
  return entryOf({{"type", "update"}, {"id", "two"}, {"current", "2.0"}, {"releasedate", "2024-06-10"}});
}

inline FeedSimulationModel makeModel(const VeskUpdateFeed& feed, FeedPopulation population, std::int64_t days = 3,
                                     std::optional<std::int64_t> archiveSize = std::nullopt) {
  const std::shared_ptr<const QuillonCalendar> calendar = makeSystemCalendar();
  return {feed, std::move(population), FeedSimulationPeriod(*calendar, kFirstDay, days), archiveSize, calendar};
}

/// A simulation that has ended, of a feed of its own.
class EndedSimulation {
 public:
  EndedSimulation(std::initializer_list<FeedDictionary> entries, std::int64_t installs,
                  std::optional<std::int64_t> archiveSize = std::nullopt, FeedPopulation population = smallPopulation())
      : feed_(feedOf(entries)),
        model_(makeModel(feed_, std::move(population), 3, archiveSize)),
        result_(simulateFeed(model_, installs, 1, 2)),
        installs_(installs) {}

  [[nodiscard]] FeedSimulationReport report() const {
    return {.model = model_, .result = result_, .installs = installs_, .seed = 1};
  }

 private:
  VeskUpdateFeed feed_;
  FeedSimulationModel model_;
  FeedSimulationResult result_;
  std::int64_t installs_;
};

}  // namespace quillon::testing
