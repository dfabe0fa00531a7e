#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

#include "QuillonTool/FeedSimulation/FeedSimulationModel.h"
#include "QuillonTool/FeedSimulation/FeedSimulationResult.h"

namespace quillon {

/// Told how many audiences of how many are done; from any thread, but never twice at once.
using FeedSimulationProgress = std::function<void(std::size_t done, std::size_t total)>;

/// Simulates `installs` installs of the model's population, on all processors. The result depends on nothing but the
/// arguments; `parts`, the number of pieces of work, changes nothing in it.
[[nodiscard]] FeedSimulationResult simulateFeed(const FeedSimulationModel& model, std::int64_t installs,
                                                std::uint64_t seed, std::size_t parts,
                                                const FeedSimulationProgress& progress = {});

}  // namespace quillon
