#pragma once

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <atomic>
#include <csignal>

namespace quillon::testing {

/// Lets writes of this process fail (EFBIG) that would make a file longer than a limit, as writes to a full disk fail.
/// Fails the test where one raised SIGXFSZ besides, which ends a process that has no handler for it.
class ScopedFileLengthLimit {
 public:
  explicit ScopedFileLengthLimit(rlim_t length)
      : previousHandler_(std::signal(SIGXFSZ, [](int) { signals_.fetch_add(1); })) {
    signals_ = 0;
    getrlimit(RLIMIT_FSIZE, &previous_);
    const rlimit limit{length, previous_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~ScopedFileLengthLimit() {
    setrlimit(RLIMIT_FSIZE, &previous_);
    (void)std::signal(SIGXFSZ, previousHandler_);
    EXPECT_EQ(signals_, 0) << "writing beyond the limit raised a signal";
  }
  ScopedFileLengthLimit(const ScopedFileLengthLimit&) = delete;
  ScopedFileLengthLimit& operator=(const ScopedFileLengthLimit&) = delete;

 private:
  static inline std::atomic<int> signals_ = 0;

  rlimit previous_{};
  void (*previousHandler_)(int);
};

}  // namespace quillon::testing
