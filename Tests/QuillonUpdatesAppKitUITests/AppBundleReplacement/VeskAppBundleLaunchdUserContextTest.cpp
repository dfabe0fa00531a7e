#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleLaunchdUserContext.h"

namespace quillon {
namespace {

TEST(VeskAppBundleLaunchdUserContextTest, CurrentProcessIsTheRealUserAsTheSystemKnowsIt) {
  const auto context = VeskAppBundleLaunchdUserContext::currentProcess();

  EXPECT_EQ(context.userIdentifier, getuid());
  EXPECT_EQ(context.groupIdentifier, getgid());
  const passwd* const entry = getpwuid(getuid());
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(context.userName, entry->pw_name);
  EXPECT_EQ(context.homeDirectory, entry->pw_dir);
}

}  // namespace
}  // namespace quillon
