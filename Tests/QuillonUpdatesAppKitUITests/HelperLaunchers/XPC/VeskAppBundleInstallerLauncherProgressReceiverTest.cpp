#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherProgressReceiver.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCLaunchProgress.h"

namespace quillon {
namespace {

using Progress = VeskAppBundleInstallerLaunchProgress;

TEST(VeskAppBundleInstallerLauncherProgressReceiverTest, PassesOnWhatCanBeRead) {
  std::vector<Progress> events;
  VeskAppBundleInstallerLauncherProgressReceiver receiver([&](const Progress& event) { events.push_back(event); });

  receiver.reportProgress(xpcDictionary(Progress::authorizationEnded(7)));
  receiver.reportProgress({});
  receiver.reportProgress({{"event", QuillonPropertyListValue("authorizationEnded")},
                           {"elapsedNanoseconds", QuillonPropertyListValue(-1)}});
  receiver.reportProgress({{"event", QuillonPropertyListValue("later")}});
  receiver.reportProgress(xpcDictionary(Progress::jobSubmitted()));

  EXPECT_THAT(events, ::testing::ElementsAre(Progress::authorizationEnded(7), Progress::jobSubmitted()));
}

}  // namespace
}  // namespace quillon
