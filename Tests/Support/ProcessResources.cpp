#include "Support/ProcessResources.h"

#include <sys/prctl.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>

namespace quillon::testing {
namespace {

namespace fs = std::filesystem;

std::size_t entriesOf(const char* folder) {
  return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

/// The parent of a process, see proc(5); 0 for one that is gone.
pid_t parentOf(const fs::path& process) {
  std::ifstream file(process / "stat");
  std::string status;
  std::getline(file, status, '\0');
  // The name stands in parentheses and may hold some itself. Nothing can be read of a process that is gone.
  std::istringstream fields(status.substr(status.rfind(')') + 1));
  char state = ' ';
  pid_t parent = 0;
  fields >> state >> parent;
  return parent;
}

std::size_t childCount() {
  std::size_t count = 0;
  for (const fs::directory_entry& process : fs::directory_iterator("/proc")) {
    const std::string name = process.path().filename().string();
    if (name.find_first_not_of("0123456789") == std::string::npos && parentOf(process.path()) == getpid()) ++count;
  }
  return count;
}

}  // namespace

ProcessResources ProcessResources::current() {
  return {.descriptors = entriesOf("/proc/self/fd"), .threads = entriesOf("/proc/self/task"), .children = childCount()};
}

bool waitForResources(const ProcessResources& expected) {
  constexpr int kLooks = 10'000;
  for (int look = 0; look < kLooks; ++look) {
    const ProcessResources current = ProcessResources::current();
    if (current.descriptors <= expected.descriptors && current.threads <= expected.threads &&
        current.children <= expected.children) {
      return true;
    }
    std::this_thread::yield();
  }
  return false;
}

ScopedOrphanAdoption::ScopedOrphanAdoption() {
  if (prctl(PR_SET_CHILD_SUBREAPER, 1L) != 0) throw std::runtime_error("Orphans cannot be adopted");
}

ScopedOrphanAdoption::~ScopedOrphanAdoption() {
  prctl(PR_SET_CHILD_SUBREAPER, 0L);
}

}  // namespace quillon::testing
