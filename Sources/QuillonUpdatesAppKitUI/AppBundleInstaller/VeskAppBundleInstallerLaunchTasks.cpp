#include "QuillonUpdatesAppKitUI/AppBundleInstaller/VeskAppBundleInstallerLaunchTasks.h"

#include <iterator>
#include <utility>

namespace quillon {

void VeskAppBundleInstallerLaunchTasks::start(std::function<void()> task) {
  std::list<Task> over;  // joined when the lock is free again
  const std::lock_guard guard(lock_);
  for (auto element = tasks_.begin(); element != tasks_.end();) {
    const auto next = std::next(element);
    if (element->isOver) over.splice(over.end(), tasks_, element);
    element = next;
  }
  std::list<Task> begun(1);
  Task& place = begun.front();
  place.thread = std::jthread([&place, task = std::move(task)]() noexcept {
    task();
    place.isOver = true;
  });
  tasks_.splice(tasks_.end(), begun);
}

}  // namespace quillon
