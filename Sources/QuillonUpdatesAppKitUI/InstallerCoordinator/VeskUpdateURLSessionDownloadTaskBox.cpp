#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateURLSessionDownloadTaskBox.h"

#include <utility>

namespace quillon {

void VeskUpdateURLSessionDownloadTaskBox::store(std::shared_ptr<QuillonURLDataTask> task) {
  {
    const std::lock_guard guard(lock_);
    if (!isCancelled_) {
      task_ = std::move(task);
      return;
    }
  }
  task->cancel();
}

void VeskUpdateURLSessionDownloadTaskBox::cancel() noexcept {
  std::shared_ptr<QuillonURLDataTask> task;
  {
    const std::lock_guard guard(lock_);
    isCancelled_ = true;
    task = std::exchange(task_, nullptr);
  }
  if (task) task->cancel();
}

}  // namespace quillon
