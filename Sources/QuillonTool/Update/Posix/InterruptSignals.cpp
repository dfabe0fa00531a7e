#include "QuillonTool/Update/Posix/InterruptSignals.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <utility>

#include "QuillonCore/Values/QuillonError.h"
#include "QuillonUpdatesAppKitUI/Presentation/Terminal/Posix/VeskUpdateTerminalKeyMode.h"

namespace quillon {
namespace {

constexpr std::array kSignals{SIGINT, SIGTERM, SIGHUP};

/// The end of the pipe that the handler writes to; a handler has no other way to know it.
std::atomic<int> pipeEnd = -1;
static_assert(std::atomic<int>::is_always_lock_free);

void setHandlers(void (*handler)(int));

void noteSignal(int /*signal*/) {
  const int error = errno;
  VeskUpdateTerminalKeyMode::putBack();  // a second one would leave the terminal as a question wants it
  setHandlers(SIG_DFL);                  // whichever signal is the second one
  const char byte = 1;
  (void)!write(pipeEnd.load(), &byte, 1);
  errno = error;
}

void setHandlers(void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = static_cast<int>(SA_RESTART | SA_RESETHAND);
  sigemptyset(&action.sa_mask);
  for (const int signal : kSignals) {
    struct sigaction present {};
    sigaction(signal, nullptr, &present);
    if (present.sa_handler == SIG_IGN) continue;  // as nohup(1) wants it
    sigaction(signal, &action, nullptr);
  }
}

}  // namespace

InterruptSignals::InterruptSignals(std::stop_source stopSource) {
  if (pipe(pipe_.data()) != 0) throw QuillonSystemError::posix(errno, "make", "a pipe");
  for (const int descriptor : pipe_) fcntl(descriptor, F_SETFD, FD_CLOEXEC);
  pipeEnd = pipe_[1];
  thread_ = std::thread([source = std::move(stopSource), end = pipe_[0]]() mutable {
    char byte = 0;
    ssize_t count = 0;
    do {
      count = read(end, &byte, 1);
    } while (count < 0 && errno == EINTR);
    if (byte != 0) source.request_stop();
  });
  setHandlers(noteSignal);
}

InterruptSignals::~InterruptSignals() {
  setHandlers(SIG_DFL);
  const char end = 0;
  (void)!write(pipe_[1], &end, 1);
  thread_.join();
  pipeEnd = -1;
  for (const int descriptor : pipe_) close(descriptor);
}

}  // namespace quillon
