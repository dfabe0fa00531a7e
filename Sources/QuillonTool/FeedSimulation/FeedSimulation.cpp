#include "QuillonTool/FeedSimulation/FeedSimulation.h"

#include <algorithm>
#include <mutex>
#include <vector>

#include "QuillonCore/Runtime/QuillonParallelFor.h"
#include "QuillonTool/FeedSimulation/FeedAudienceSimulation.h"

namespace quillon {

FeedSimulationResult simulateFeed(const FeedSimulationModel& model, std::int64_t installs, std::uint64_t seed,
                                  std::size_t parts, const FeedSimulationProgress& progress) {
  const std::vector<FeedAudience> audiences = feedAudiences(model.population(), installs, seed);
  FeedSimulationResult result;
  std::size_t done = 0;
  std::mutex lock;  // guards `result` and `done`
  quillonParallelFor(parts, [&](std::size_t part, std::size_t /*worker*/) {
    const std::size_t begin = audiences.size() * part / parts;
    const std::size_t end = audiences.size() * (part + 1) / parts;
    FeedAudienceSimulation simulation(model);
    for (std::size_t i = begin; i < end; ++i) simulation.simulate(audiences[i]);
    const std::lock_guard guard(lock);
    result.add(simulation.result());  // sums of integers: the order of the parts does not show
    done += end - begin;
    if (progress) progress(done, audiences.size());
  });
  return result;
}

}  // namespace quillon
