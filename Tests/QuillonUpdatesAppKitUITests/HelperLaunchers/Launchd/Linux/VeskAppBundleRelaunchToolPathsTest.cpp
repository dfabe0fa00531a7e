#include <gtest/gtest.h>

#include "QuillonCore/Runtime/Linux/QuillonToolLocation.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdRelauncher.h"

namespace quillon {
namespace {

TEST(VeskAppBundleRelaunchToolPathsTest, DefaultsAreThisSystemsOwnTools) {
  const auto paths = VeskAppBundleRelaunchToolPaths::systemDefault();

  EXPECT_EQ(paths, (VeskAppBundleRelaunchToolPaths{.launchctl = toolPath("quillon-launchctl"),
                                                   .open = toolPath("quillon-open")}));
  EXPECT_TRUE(paths.launchctl.starts_with('/'));
}

}  // namespace
}  // namespace quillon
