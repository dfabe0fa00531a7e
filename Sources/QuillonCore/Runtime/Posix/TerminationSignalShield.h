#pragma once

#include <csignal>

namespace quillon {

/// While it lives, SIGTERM, SIGINT and SIGHUP wait. They reach the calling thread, and processes it starts later, again
/// when it is gone.
class TerminationSignalShield {
 public:
  TerminationSignalShield() noexcept;
  ~TerminationSignalShield();
  TerminationSignalShield(const TerminationSignalShield&) = delete;
  TerminationSignalShield& operator=(const TerminationSignalShield&) = delete;

 private:
  sigset_t previous_{};
};

}  // namespace quillon
