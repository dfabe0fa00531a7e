#include "Support/ProcessResources.h"

#include <filesystem>
#include <iterator>
#include <thread>

namespace quillon::testing {
namespace {

std::size_t entriesOf(const char* folder) {
  return static_cast<std::size_t>(
      std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator()));
}

}  // namespace

ProcessResources ProcessResources::current() {
  return {.descriptors = entriesOf("/proc/self/fd"), .threads = entriesOf("/proc/self/task")};
}

bool waitForResources(const ProcessResources& expected) {
  constexpr int kLooks = 10'000;
  for (int look = 0; look < kLooks; ++look) {
    const ProcessResources current = ProcessResources::current();
    if (current.descriptors <= expected.descriptors && current.threads <= expected.threads) return true;
    std::this_thread::yield();
  }
  return false;
}

}  // namespace quillon::testing
