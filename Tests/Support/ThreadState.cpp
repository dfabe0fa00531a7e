#include "Support/ThreadState.h"

#include <string>
#include <thread>

#include "Support/TemporaryDirectory.h"

namespace quillon::testing {

bool waitUntilAsleep(pid_t thread) {
  constexpr int kLooks = 100'000;
  const std::string file = "/proc/self/task/" + std::to_string(thread) + "/stat";
  for (int look = 0; look < kLooks; ++look) {
    // Field 3 of proc(5)'s stat; the name before it ends at the last parenthesis.
    const std::string status = readFile(file);
    if (status.substr(status.rfind(')') + 2, 1) == "S") return true;
    std::this_thread::yield();
  }
  return false;
}

}  // namespace quillon::testing
