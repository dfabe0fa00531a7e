#pragma once

#include <atomic>
#include <functional>
#include <list>
#include <mutex>
#include <thread>

namespace quillon {

/// The launches under way, each on a thread of its own. May be used from any thread; the destructor waits for them
/// all, and so runs on none of these threads.
class VeskAppBundleInstallerLaunchTasks {
 public:
  VeskAppBundleInstallerLaunchTasks() = default;
  VeskAppBundleInstallerLaunchTasks(const VeskAppBundleInstallerLaunchTasks&) = delete;
  VeskAppBundleInstallerLaunchTasks& operator=(const VeskAppBundleInstallerLaunchTasks&) = delete;
  ~VeskAppBundleInstallerLaunchTasks() = default;

  /// Runs `task`, which must not throw. Throws std::system_error when the system has no thread left; then the task does
  /// not run.
  void start(std::function<void()> task);

 private:
  struct Task {
    std::atomic<bool> isOver = false;
    std::jthread thread;
  };

  std::mutex lock_;
  std::list<Task> tasks_;  // guarded by lock_; an element's address stays what it is
};

}  // namespace quillon
