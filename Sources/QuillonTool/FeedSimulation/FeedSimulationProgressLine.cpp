#include "QuillonTool/FeedSimulation/FeedSimulationProgressLine.h"

#include <string>
#include <utility>

namespace quillon {
namespace {

constexpr std::uint64_t kQuietNanoseconds = 1'000'000'000;

}  // namespace

FeedSimulationProgressLine::FeedSimulationProgressLine(QuillonMonotonicTimeProvider now,
                                                       std::function<void(std::string_view)> write)
    : now_(std::move(now)), write_(std::move(write)), start_(now_()) {}

void FeedSimulationProgressLine::show(std::size_t done, std::size_t total) {
  if (now_() - start_ < kQuietNanoseconds) return;
  isShown_ = true;
  write_("\rSimulating: " + std::to_string(total == 0 ? 100 : done * 100 / total) + " %");
}

void FeedSimulationProgressLine::clear() {
  // Return to the start of the line and erase to its end (ECMA-48, "EL").
  if (std::exchange(isShown_, false)) write_("\r\033[K");
}

}  // namespace quillon
