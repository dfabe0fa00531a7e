#include "QuillonUpdatesAppKitUI/Presentation/Terminal/Posix/VeskUpdateTerminalKeyMode.h"

#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <utility>

namespace quillon {
namespace {

using Mode = VeskUpdateTerminalKeyMode;
using Handler = void (*)(int);

constexpr std::array kEndingSignals{SIGINT, SIGTERM, SIGHUP, SIGQUIT};

std::atomic_flag isLocked;
/// That handlers look after; guarded by isLocked.
Mode* current = nullptr;
/// A forked child has the memory and the handlers of this process, but no business with its terminal.
std::atomic<pid_t> owner = 0;
static_assert(std::atomic<pid_t>::is_always_lock_free);

/// SIGTTOU is none of them: blocked, it would let a job in the background change the terminal.
sigset_t allSignals() noexcept {
  sigset_t signals;
  sigfillset(&signals);
  sigdelset(&signals, SIGTTOU);
  return signals;
}

/// Holds the lock with signals blocked, so that a handler waits for other threads and never for the one it interrupts.
class LockWithoutSignals {
 public:
  LockWithoutSignals() noexcept {
    const sigset_t signals = allSignals();
    pthread_sigmask(SIG_BLOCK, &signals, &before_);
    while (isLocked.test_and_set(std::memory_order_acquire)) continue;
  }
  ~LockWithoutSignals() {
    isLocked.clear(std::memory_order_release);
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
  }
  LockWithoutSignals(const LockWithoutSignals&) = delete;
  LockWithoutSignals& operator=(const LockWithoutSignals&) = delete;

 private:
  sigset_t before_{};
};

/// A handler may run between a failed call and the look at its error.
class UnchangedErrno {
 public:
  UnchangedErrno() noexcept = default;
  ~UnchangedErrno() { errno = before_; }
  UnchangedErrno(const UnchangedErrno&) = delete;
  UnchangedErrno& operator=(const UnchangedErrno&) = delete;

 private:
  const int before_ = errno;
};

Handler handlerOf(int signal) noexcept {
  struct sigaction present {};
  sigaction(signal, nullptr, &present);
  return present.sa_handler;
}

void setHandler(int signal, Handler handler) noexcept {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_mask = allSignals();
  action.sa_flags = SA_RESTART;
  sigaction(signal, &action, nullptr);
}

void replaceHandler(int signal, Handler before, Handler after) noexcept {
  if (handlerOf(signal) == before) setHandler(signal, after);
}

/// True also for a terminal that jobs are not controlled with.
bool isInForeground(int descriptor) noexcept {
  const pid_t foreground = tcgetpgrp(descriptor);
  return foreground < 0 || foreground == getpgrp();
}

}  // namespace

VeskUpdateTerminalKeyMode::VeskUpdateTerminalKeyMode(int descriptor) : descriptor_(descriptor) {
  // A job in the background is stopped here: the settings are those of the shell then, and not the ones to keep.
  while (tcflush(descriptor_, TCIFLUSH) != 0) {
    if (errno != EINTR) return;
  }
  const LockWithoutSignals lock;
  if (current != nullptr || !isInForeground(descriptor_) || tcgetattr(descriptor_, &lines_) != 0) return;
  keys_ = lines_;
  keys_.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
  keys_.c_cc[VMIN] = 0;
  keys_.c_cc[VTIME] = 0;
  current = this;
  owner = getpid();
  installHandlers();
  apply(keys_);
}

VeskUpdateTerminalKeyMode::~VeskUpdateTerminalKeyMode() {
  const LockWithoutSignals lock;
  if (current == this) {
    apply(lines_);
    current = nullptr;
  }
  if (current == nullptr) removeHandlers();
}

void VeskUpdateTerminalKeyMode::putBack() noexcept {
  if (getpid() != owner) return;
  const UnchangedErrno unchangedErrno;
  const LockWithoutSignals lock;
  if (const Mode* const mode = std::exchange(current, nullptr)) mode->apply(mode->lines_);
}

void VeskUpdateTerminalKeyMode::handleEnd(int signal) noexcept {
  putBack();
  setHandler(signal, SIG_DFL);
  raise(signal);  // delivered when this returns
}

void VeskUpdateTerminalKeyMode::handleStop(int signal) noexcept {
  const UnchangedErrno unchangedErrno;
  if (getpid() == owner) {
    const LockWithoutSignals lock;
    if (current != nullptr) current->apply(current->lines_);
  }
  setHandler(signal, SIG_DFL);
  raise(signal);
  sigset_t stop;
  sigemptyset(&stop);
  sigaddset(&stop, signal);
  pthread_sigmask(SIG_UNBLOCK, &stop, nullptr);  // stops here, unless there is no shell that could continue it
  if (getpid() == owner) {
    const LockWithoutSignals lock;
    if (current == nullptr) return;
    setHandler(signal, handleStop);
    current->apply(current->keys_);
  }
}

/// Also after SIGSTOP, and when the job has gone on in the background meanwhile.
void VeskUpdateTerminalKeyMode::handleContinue(int /*signal*/) noexcept {
  if (getpid() != owner) return;
  const UnchangedErrno unchangedErrno;
  const LockWithoutSignals lock;
  if (current != nullptr) current->apply(current->keys_);
}

void VeskUpdateTerminalKeyMode::installHandlers() noexcept {
  for (const int signal : kEndingSignals) replaceHandler(signal, SIG_DFL, handleEnd);
  replaceHandler(SIGTSTP, SIG_DFL, handleStop);
  replaceHandler(SIGCONT, SIG_DFL, handleContinue);
}

void VeskUpdateTerminalKeyMode::removeHandlers() noexcept {
  for (const int signal : kEndingSignals) replaceHandler(signal, handleEnd, SIG_DFL);
  replaceHandler(SIGTSTP, handleStop, SIG_DFL);
  replaceHandler(SIGCONT, handleContinue, SIG_DFL);
}

void VeskUpdateTerminalKeyMode::apply(const termios& settings) const noexcept {
  if (isInForeground(descriptor_)) tcsetattr(descriptor_, TCSANOW, &settings);
}

}  // namespace quillon
