#pragma once

#include <sys/resource.h>

#include <csignal>

namespace quillon::testing {

/// Lets writes of this process fail (EFBIG) that would make a file longer than a limit, as writes to a full disk fail.
class ScopedFileLengthLimit {
 public:
  explicit ScopedFileLengthLimit(rlim_t length) : previousHandler_(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &previous_);
    const rlimit limit{length, previous_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~ScopedFileLengthLimit() {
    setrlimit(RLIMIT_FSIZE, &previous_);
    (void)std::signal(SIGXFSZ, previousHandler_);
  }
  ScopedFileLengthLimit(const ScopedFileLengthLimit&) = delete;
  ScopedFileLengthLimit& operator=(const ScopedFileLengthLimit&) = delete;

 private:
  rlimit previous_{};
  void (*previousHandler_)(int);
};

}  // namespace quillon::testing
