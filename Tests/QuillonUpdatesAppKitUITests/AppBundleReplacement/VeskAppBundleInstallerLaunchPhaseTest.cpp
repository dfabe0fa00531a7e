#include <gtest/gtest.h>

#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleInstallerLaunchPhase.h"

namespace quillon {
namespace {

using Phase = VeskAppBundleInstallerLaunchPhase;

TEST(VeskAppBundleInstallerLaunchPhaseTest, EveryPhaseReadsBackFromItsName) {
  for (const auto& [phase, text] :
       {std::pair{Phase::messageResolution, "messageResolution"},
        std::pair{Phase::preAuthorization, "preAuthorization"}, std::pair{Phase::authorization, "authorization"},
        std::pair{Phase::postAuthorization, "postAuthorization"}, std::pair{Phase::jobSubmission, "jobSubmission"},
        std::pair{Phase::xpcConnection, "xpcConnection"}, std::pair{Phase::xpcReply, "xpcReply"}}) {
    EXPECT_EQ(rawValue(phase), text);
    EXPECT_EQ(launchPhaseFromRawValue(text), phase);
  }
}

TEST(VeskAppBundleInstallerLaunchPhaseTest, AnUnknownNameIsNoPhase) {
  EXPECT_EQ(launchPhaseFromRawValue("later"), std::nullopt);
  EXPECT_EQ(launchPhaseFromRawValue(""), std::nullopt);
}

}  // namespace
}  // namespace quillon
