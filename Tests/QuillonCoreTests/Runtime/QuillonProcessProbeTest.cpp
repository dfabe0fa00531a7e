#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "QuillonCore/Runtime/QuillonProcessProbe.h"

namespace quillon {
namespace {

TEST(QuillonProcessProbeTest, ALivingProcessExistsAndAReapedOneDoesNot) {
  const pid_t child = fork();
  if (child == 0) {
    pause();
    _exit(0);
  }

  EXPECT_TRUE(processExists(getpid()));
  EXPECT_TRUE(processExists(child));
  kill(child, SIGKILL);
  ASSERT_EQ(waitpid(child, nullptr, 0), child);
  EXPECT_FALSE(processExists(child));
}

TEST(QuillonProcessProbeTest, AProcessOfAnotherUserExists) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can become another user";

  const pid_t child = fork();
  if (child == 0) _exit(setuid(65534) == 0 && processExists(1) ? 0 : 1);
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace quillon
