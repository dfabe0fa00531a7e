#include <gtest/gtest.h>

#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskUpdateInstallerError.h"

namespace quillon {
namespace {

using Error = VeskUpdateInstallerError;

TEST(VeskUpdateInstallerErrorTest, ACaseWithoutPayloadIsDescribedByItsName) {
  EXPECT_EQ(Error::relaunchFailed().description(), "relaunchFailed");
  EXPECT_EQ(Error(Error::Code::missingArchiveURL).description(), "missingArchiveURL");
  EXPECT_EQ(caseName(Error::Code::replacementHelperLaunchFailed), "replacementHelperLaunchFailed");
}

TEST(VeskUpdateInstallerErrorTest, APayloadIsPartOfTheDescription) {
  EXPECT_EQ(Error::replacementHelperLaunchTimedOut(VeskAppBundleInstallerLaunchPhase::xpcReply).description(),
            "replacementHelperLaunchTimedOut(xpcReply)");
  EXPECT_EQ(Error::authorizationDenied({.status = -60005, .message = "no"}).description(),
            "authorizationDenied(-60005 no)");
  EXPECT_EQ(Error::authorizationCancelled({.status = std::nullopt, .message = std::nullopt}).description(),
            "authorizationCancelled");
  EXPECT_EQ(Error::replacementHelperLaunchFailed({.phase = VeskAppBundleInstallerLaunchPhase::jobSubmission,
                                                  .errorDomain = "D",
                                                  .errorCode = 7,
                                                  .errorDescription = "text"})
                .description(),
            "replacementHelperLaunchFailed(phase=jobSubmission domain=D code=7 description=text)");
}

TEST(VeskUpdateInstallerErrorTest, ErrorsAreEqualByCaseAndPayload) {
  EXPECT_EQ(Error::replacementFailed(), Error::replacementFailed());
  EXPECT_FALSE(Error::replacementFailed() == Error::relaunchFailed());
  EXPECT_FALSE(Error::authorizationDenied({.status = 1, .message = {}}) ==
               Error::authorizationDenied({.status = 2, .message = {}}));
}

}  // namespace
}  // namespace quillon
