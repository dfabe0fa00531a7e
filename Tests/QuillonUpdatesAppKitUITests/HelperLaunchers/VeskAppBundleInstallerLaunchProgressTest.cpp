#include <gtest/gtest.h>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/VeskAppBundleInstallerLaunchProgress.h"

namespace quillon {
namespace {

using Progress = VeskAppBundleInstallerLaunchProgress;

TEST(VeskAppBundleInstallerLaunchProgressTest, EveryCaseHasTheNameOfItsFactory) {
  EXPECT_EQ(Progress::authorizationRequired({}).caseName(), "authorizationRequired");
  EXPECT_EQ(Progress::authorizationEnded(1).caseName(), "authorizationEnded");
  EXPECT_EQ(Progress::handoffStarted().caseName(), "handoffStarted");
  EXPECT_EQ(Progress::authorizationBegan().caseName(), "authorizationBegan");
  EXPECT_EQ(Progress::jobSubmitted().caseName(), "jobSubmitted");
}

TEST(VeskAppBundleInstallerLaunchProgressTest, EventsAreEqualByCaseAndPayload) {
  EXPECT_EQ(Progress::authorizationEnded(7), Progress::authorizationEnded(7));
  EXPECT_NE(Progress::authorizationEnded(7), Progress::authorizationEnded(8));
  EXPECT_NE(Progress::authorizationRequired({.destinationParentIsWritable = true}),
            Progress::authorizationRequired({.canPreserveInstalledOwnership = true}));
  EXPECT_NE(Progress::handoffStarted(), Progress::jobSubmitted());
}

}  // namespace
}  // namespace quillon
