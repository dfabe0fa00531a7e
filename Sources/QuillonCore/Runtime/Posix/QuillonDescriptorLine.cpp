#include "QuillonCore/Runtime/Posix/QuillonDescriptorLine.h"

#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

namespace quillon {
namespace {

/// Keeps a SIGPIPE of this thread's own writes from being delivered. The signal is sent to the thread that writes.
class ScopedPipeSignalBlock {
 public:
  ScopedPipeSignalBlock() noexcept {
    sigemptyset(&pipeSignal_);
    sigaddset(&pipeSignal_, SIGPIPE);
    wasPending_ = isPending();
    pthread_sigmask(SIG_BLOCK, &pipeSignal_, &previous_);
  }
  ~ScopedPipeSignalBlock() {
    const int savedError = errno;
    if (!wasPending_ && isPending()) {
      int taken = 0;
      (void)sigwait(&pipeSignal_, &taken);  // sigtimedwait(2) is not everywhere
    }
    pthread_sigmask(SIG_SETMASK, &previous_, nullptr);
    errno = savedError;
  }
  ScopedPipeSignalBlock(const ScopedPipeSignalBlock&) = delete;
  ScopedPipeSignalBlock& operator=(const ScopedPipeSignalBlock&) = delete;

 private:
  static bool isPending() noexcept {
    sigset_t pending{};
    sigpending(&pending);
    return sigismember(&pending, SIGPIPE) == 1;
  }

  sigset_t pipeSignal_{};
  sigset_t previous_{};
  bool wasPending_ = false;
};

}  // namespace

void writeLine(int descriptor, std::string_view line) noexcept {
  const ScopedPipeSignalBlock block;
  while (!line.empty()) {
    const ssize_t written = write(descriptor, line.data(), line.size());
    if (written > 0) {
      line.remove_prefix(static_cast<std::size_t>(written));
    } else if (written == 0 || errno != EINTR) {
      return;
    }
  }
}

}  // namespace quillon
