#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "QuillonCore/Runtime/Posix/CommandProcess.h"

namespace quillon {
namespace {

TEST(CommandProcessTest, ClosedStreamsAreOpenedAndSignalsOfTheStarterUndone) {
  const pid_t child = fork();
  if (child == 0) {
    close(STDIN_FILENO);
    close(STDERR_FILENO);
    std::signal(SIGCHLD, SIG_IGN);
    prepareCommandProcess();
    const bool opened = fcntl(STDIN_FILENO, F_GETFD) >= 0 && fcntl(STDERR_FILENO, F_GETFD) >= 0;
    const bool signals = std::signal(SIGCHLD, SIG_DFL) == SIG_DFL && std::signal(SIGPIPE, SIG_DFL) == SIG_IGN &&
                         std::signal(SIGXFSZ, SIG_DFL) == SIG_IGN;
    _exit(opened && signals ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace quillon
