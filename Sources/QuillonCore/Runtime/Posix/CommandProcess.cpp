#include "QuillonCore/Runtime/Posix/CommandProcess.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

namespace quillon {

void prepareCommandProcess() noexcept {
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
    if (fcntl(descriptor, F_GETFD) >= 0) continue;
    // The lowest free number is this one. Without it nothing that is written later would be safe.
    if (open("/dev/null", O_RDWR) != descriptor) std::abort();
  }
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  std::signal(SIGCHLD, SIG_DFL);
}

}  // namespace quillon
