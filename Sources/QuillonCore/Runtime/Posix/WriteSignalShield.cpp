#include "QuillonCore/Runtime/Posix/WriteSignalShield.h"

#include <cerrno>
#include <initializer_list>

namespace quillon {
namespace {

constexpr std::initializer_list<int> kSignals = {SIGPIPE, SIGXFSZ};

sigset_t pendingSignals() noexcept {
  sigset_t pending{};
  sigemptyset(&pending);
  sigpending(&pending);
  return pending;
}

}  // namespace

WriteSignalShield::WriteSignalShield() noexcept {
  sigset_t shielded{};
  sigemptyset(&shielded);
  for (const int signal : kSignals) sigaddset(&shielded, signal);
  pthread_sigmask(SIG_BLOCK, &shielded, &previous_);
  pendingBefore_ = pendingSignals();
}

WriteSignalShield::~WriteSignalShield() {
  const int savedError = errno;
  const sigset_t pending = pendingSignals();
  for (const int signal : kSignals) {
    if (sigismember(&pending, signal) != 1 || sigismember(&pendingBefore_, signal) == 1) continue;
    sigset_t raised{};
    sigemptyset(&raised);
    sigaddset(&raised, signal);
    int taken = 0;
    (void)sigwait(&raised, &taken);  // sigtimedwait(2) is not everywhere
  }
  pthread_sigmask(SIG_SETMASK, &previous_, nullptr);
  errno = savedError;
}

}  // namespace quillon
