#pragma once

#include <mutex>

namespace quillon {

/// Belongs to one download: progress reports that are handled after it was switched off change nothing. From any
/// thread.
class VeskUpdateProgressToken {
 public:
  [[nodiscard]] bool isActive() const {
    const std::lock_guard guard(lock_);
    return active_;
  }
  void deactivate() {
    const std::lock_guard guard(lock_);
    active_ = false;
  }

 private:
  mutable std::mutex lock_;
  bool active_ = true;  // guarded by lock_
};

}  // namespace quillon
