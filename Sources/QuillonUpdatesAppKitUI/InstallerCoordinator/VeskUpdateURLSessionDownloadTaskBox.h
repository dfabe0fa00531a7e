#pragma once

#include <memory>
#include <mutex>

#include "QuillonCore/Network/QuillonURLDataTask.h"

namespace quillon {

/// Holds the task of one download for whoever cancels it, and closes the gap between the two: a task that comes after
/// the cancellation is cancelled as it is stored. Any thread.
///
/// | event   | before it           | after it                        |
/// |---------|---------------------|---------------------------------|
/// | store   | empty               | holds the task                  |
/// | store   | cancelled           | cancelled, and the task as well |
/// | cancel  | empty               | cancelled                       |
/// | cancel  | holds the task      | cancelled, and the task as well |
class VeskUpdateURLSessionDownloadTaskBox {
 public:
  /// `task` is not null. Once only.
  void store(std::shared_ptr<QuillonURLDataTask> task);
  void cancel() noexcept;

 private:
  std::mutex lock_;
  std::shared_ptr<QuillonURLDataTask> task_;  // guarded by lock_
  bool isCancelled_ = false;                  // guarded by lock_
};

}  // namespace quillon
