#include <gtest/gtest.h>

#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleInstallerFailureDiagnostic.h"

namespace quillon {
namespace {

using Phase = VeskAppBundleInstallerLaunchPhase;

TEST(VeskAppBundleInstallerFailureDiagnosticTest, AnEmptyDescriptionIsNoPartOfTheText) {
  EXPECT_EQ((VeskAppBundleInstallerFailureDiagnostic{
                 .phase = Phase::xpcReply, .errorDomain = "D", .errorCode = 7, .errorDescription = ""})
                .description(),
            "phase=xpcReply domain=D code=7");
}

TEST(VeskAppBundleInstallerFailureDiagnosticTest, AnEmptyDomainIsAPartAllTheSame) {
  EXPECT_EQ(
      (VeskAppBundleInstallerFailureDiagnostic{
           .phase = Phase::authorization, .errorDomain = "", .errorCode = std::nullopt, .errorDescription = "why"})
          .description(),
      "phase=authorization domain= description=why");
  EXPECT_EQ((VeskAppBundleInstallerFailureDiagnostic{.phase = Phase::authorization,
                                                     .errorDomain = std::nullopt,
                                                     .errorCode = std::nullopt,
                                                     .errorDescription = std::nullopt})
                .description(),
            "phase=authorization");
}

}  // namespace
}  // namespace quillon
