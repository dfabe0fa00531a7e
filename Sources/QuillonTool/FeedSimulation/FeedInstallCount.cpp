#include "QuillonTool/FeedSimulation/FeedInstallCount.h"

#include <numeric>

namespace quillon {

std::vector<std::int64_t> dividedInstalls(std::int64_t count, const std::vector<std::int64_t>& weights,
                                          FeedSimulationSeed seed) {
  const std::int64_t sum = std::accumulate(weights.begin(), weights.end(), std::int64_t{0});
  const std::int64_t offset = seed.numberBelow(sum);
  std::vector<std::int64_t> parts;
  parts.reserve(weights.size());
  // Installs stand at equal distances along the weights, the first one at a place that the seed draws.
  std::int64_t weightSoFar = 0;
  std::int64_t installsSoFar = 0;
  for (const std::int64_t weight : weights) {
    weightSoFar += weight;
    const std::int64_t installs = (count * weightSoFar + offset) / sum;
    parts.push_back(installs - installsSoFar);
    installsSoFar = installs;
  }
  return parts;
}

}  // namespace quillon
