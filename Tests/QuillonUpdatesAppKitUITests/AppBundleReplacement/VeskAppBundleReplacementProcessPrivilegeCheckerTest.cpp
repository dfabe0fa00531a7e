#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementProcessPrivilegeChecker.h"

namespace quillon {
namespace {

TEST(VeskAppBundleReplacementProcessPrivilegeCheckerTest, RootIsPrivilegedAndNobodyElse) {
  const VeskAppBundleReplacementProcessPrivilegeChecker checker;
  EXPECT_EQ(checker.processCanReplaceNonWritableDestination(), geteuid() == 0);
  if (geteuid() != 0) return;

  const pid_t child = fork();
  if (child == 0) _exit(setuid(65534) == 0 && !checker.processCanReplaceNonWritableDestination() ? 0 : 1);
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace quillon
