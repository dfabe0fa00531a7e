#include "Support/EmptyRunFolder.h"

#include <sched.h>
#include <sys/mount.h>

#include <thread>

namespace quillon::testing {
namespace {

/// The mount lives as long as the calling thread.
bool mountEmptyRunFolder() {
  return unshare(CLONE_FS | CLONE_NEWNS) == 0 && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
         mount("none", "/run", "tmpfs", 0, nullptr) == 0;
}

}  // namespace

bool callWithEmptyRunFolder(const std::function<void()>& function) {
  bool isMounted = false;
  std::thread([&] {
    isMounted = mountEmptyRunFolder();
    if (isMounted) function();
  }).join();
  return isMounted;
}

}  // namespace quillon::testing
