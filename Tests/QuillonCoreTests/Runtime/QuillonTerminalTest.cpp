#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include "QuillonCore/Runtime/QuillonTerminal.h"

namespace quillon {
namespace {

/// Whether standard error is a terminal while it is `descriptor`, which is closed.
bool isTerminalAs(int descriptor) {
  const int before = dup(STDERR_FILENO);
  dup2(descriptor, STDERR_FILENO);
  const bool answer = standardErrorIsTerminal();
  dup2(before, STDERR_FILENO);
  close(before);
  close(descriptor);
  return answer;
}

/// The same of standard input.
bool isInputTerminalAs(int descriptor) {
  const int before = dup(STDIN_FILENO);
  dup2(descriptor, STDIN_FILENO);
  const bool answer = standardInputIsTerminal();
  dup2(before, STDIN_FILENO);
  close(before);
  close(descriptor);
  return answer;
}

TEST(QuillonTerminalTest, AFileIsNoTerminal) {
  EXPECT_FALSE(isTerminalAs(open("/dev/null", O_WRONLY | O_CLOEXEC)));
  EXPECT_FALSE(isInputTerminalAs(open("/dev/null", O_RDONLY | O_CLOEXEC)));
}

TEST(QuillonTerminalTest, ATerminalIsOne) {
  const int controller = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  if (controller < 0) GTEST_SKIP() << "this machine gives out no pseudo-terminals";
  ASSERT_EQ(grantpt(controller), 0);
  ASSERT_EQ(unlockpt(controller), 0);
  const int terminal = open(ptsname(controller), O_RDWR | O_NOCTTY | O_CLOEXEC);
  if (terminal < 0) {
    close(controller);
    GTEST_SKIP() << "this machine gives out no pseudo-terminals";
  }

  EXPECT_TRUE(isInputTerminalAs(dup(terminal)));
  EXPECT_TRUE(isTerminalAs(terminal));

  close(controller);
}

}  // namespace
}  // namespace quillon
