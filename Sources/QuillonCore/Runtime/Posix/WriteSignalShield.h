#pragma once

#include <csignal>

namespace quillon {

/// While it lives, what this thread writes never raises a signal: without a reader it fails with EPIPE, beyond the
/// limit on the size of files with EFBIG. A library has no business with the handlers of its host, of which SIGPIPE and
/// SIGXFSZ would be the end where there are none.
///
/// Linux sends both signals to the thread that writes. Threads that it starts meanwhile write under the same shield.
class WriteSignalShield {
 public:
  WriteSignalShield() noexcept;
  ~WriteSignalShield();
  WriteSignalShield(const WriteSignalShield&) = delete;
  WriteSignalShield& operator=(const WriteSignalShield&) = delete;

 private:
  sigset_t previous_{};
  sigset_t pendingBefore_{};
};

}  // namespace quillon
