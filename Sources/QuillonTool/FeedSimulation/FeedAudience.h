#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "QuillonTool/FeedSimulation/FeedPopulation.h"
#include "QuillonTool/FeedSimulation/FeedSimulationSeed.h"

namespace quillon {

/// The installs that a feed tells apart by nothing but their version: what else a decision depends on is the same and
/// stays the same. The numbers are positions in the population's properties.
struct FeedAudience {
  std::size_t osVersion = 0;
  std::size_t language = 0;
  std::size_t sku = 0;
  std::size_t staggerGroup = 0;
  bool wantsBetas = false;
  std::int64_t installs = 0;
  FeedSimulationSeed seed{0};
};

/// The installs of an audience that start with the same version and check at the same hours.
struct FeedCohort {
  std::size_t version = 0;
  std::size_t checkHours = 0;
  /// Hour of the first check, below the hours between two.
  std::int64_t firstCheck = 0;
  std::int64_t installs = 0;

  friend bool operator==(const FeedCohort&, const FeedCohort&) = default;
};

/// Divides `installs` installs of a valid `population` into audiences; empty ones are left out.
[[nodiscard]] std::vector<FeedAudience> feedAudiences(const FeedPopulation& population, std::int64_t installs,
                                                      std::uint64_t seed);

/// Divides an audience into cohorts; empty ones are left out.
[[nodiscard]] std::vector<FeedCohort> feedCohorts(const FeedPopulation& population, const FeedAudience& audience);

}  // namespace quillon
