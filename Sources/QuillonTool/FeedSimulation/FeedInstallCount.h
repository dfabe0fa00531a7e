#pragma once

#include <cstdint>
#include <vector>

#include "QuillonTool/FeedSimulation/FeedSimulationSeed.h"

namespace quillon {

/// The largest number of installs: with weights up to FeedPopulation::kLargestWeight, products stay within 64 bits.
inline constexpr std::int64_t kMostInstalls = 1'000'000'000'000;

/// Divides `count` installs by `weights`: each part is its exact share, rounded up or down. Which way is drawn from
/// `seed` so that on average every install is treated alike, and the parts add up to `count` always. At least one
/// weight is above 0.
[[nodiscard]] std::vector<std::int64_t> dividedInstalls(std::int64_t count, const std::vector<std::int64_t>& weights,
                                                        FeedSimulationSeed seed);

}  // namespace quillon
