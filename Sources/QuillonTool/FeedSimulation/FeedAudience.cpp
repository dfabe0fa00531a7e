#include "QuillonTool/FeedSimulation/FeedAudience.h"

#include "QuillonTool/FeedSimulation/FeedInstallCount.h"

namespace quillon {
namespace {

template <typename Value>
std::vector<std::int64_t> weightsOf(const FeedPopulation::Shares<Value>& shares) {
  std::vector<std::int64_t> weights;
  weights.reserve(shares.size());
  for (const auto& share : shares) weights.push_back(share.weight);
  return weights;
}

/// Every part of each audience of `audiences`, with the part's position set by `set`.
template <typename Set>
std::vector<FeedAudience> divided(const std::vector<FeedAudience>& audiences, const std::vector<std::int64_t>& weights,
                                  Set set) {
  std::vector<FeedAudience> parts;
  for (const FeedAudience& audience : audiences) {
    const std::vector<std::int64_t> installs = dividedInstalls(audience.installs, weights, audience.seed);
    for (std::size_t i = 0; i < installs.size(); ++i) {
      if (installs[i] == 0) continue;
      FeedAudience& part = parts.emplace_back(audience);
      part.installs = installs[i];
      part.seed = audience.seed.child(i);
      set(part, i);
    }
  }
  return parts;
}

}  // namespace

std::vector<FeedAudience> feedAudiences(const FeedPopulation& population, std::int64_t installs, std::uint64_t seed) {
  std::vector<FeedAudience> all(1);
  all.front().installs = installs;
  all.front().seed = FeedSimulationSeed(seed);
  all = divided(all, weightsOf(population.osVersions), [](FeedAudience& part, std::size_t i) { part.osVersion = i; });
  all = divided(all, weightsOf(population.languages), [](FeedAudience& part, std::size_t i) { part.language = i; });
  all = divided(all, weightsOf(population.skus), [](FeedAudience& part, std::size_t i) { part.sku = i; });
  all = divided(all, weightsOf(population.staggerGroups),
                [](FeedAudience& part, std::size_t i) { part.staggerGroup = i; });
  return divided(all, {100 - population.betaPercent, population.betaPercent},
                 [](FeedAudience& part, std::size_t i) { part.wantsBetas = i == 1; });
}

std::vector<FeedCohort> feedCohorts(const FeedPopulation& population, const FeedAudience& audience) {
  std::vector<FeedCohort> cohorts;
  const auto byVersion = dividedInstalls(audience.installs, weightsOf(population.versions), audience.seed);
  const std::vector<std::int64_t> checkWeights = weightsOf(population.checkHours);
  for (std::size_t version = 0; version < byVersion.size(); ++version) {
    if (byVersion[version] == 0) continue;
    const FeedSimulationSeed versionSeed = audience.seed.child(version);
    const auto byInterval = dividedInstalls(byVersion[version], checkWeights, versionSeed);
    for (std::size_t interval = 0; interval < byInterval.size(); ++interval) {
      if (byInterval[interval] == 0) continue;
      const auto hours = static_cast<std::size_t>(population.checkHours[interval].value);
      const auto byHour =
          dividedInstalls(byInterval[interval], std::vector<std::int64_t>(hours, 1), versionSeed.child(interval));
      for (std::size_t hour = 0; hour < hours; ++hour) {
        if (byHour[hour] == 0) continue;
        cohorts.push_back({.version = version,
                           .checkHours = interval,
                           .firstCheck = static_cast<std::int64_t>(hour),
                           .installs = byHour[hour]});
      }
    }
  }
  return cohorts;
}

}  // namespace quillon
