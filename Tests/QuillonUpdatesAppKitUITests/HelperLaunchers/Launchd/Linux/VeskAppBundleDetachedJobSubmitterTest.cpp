#include <gtest/gtest.h>

#include <cerrno>
#include <optional>
#include <string>

#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskUpdateInstallerError.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/VeskAppBundleDetachedJobSubmitter.h"
#include "Support/ReportFifo.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using testing::ReportFifo;
using testing::TemporaryDirectory;

class VeskAppBundleDetachedJobSubmitterTest : public ::testing::Test {
 protected:
  static std::optional<VeskUpdateInstallerError> submit(std::vector<std::string> programArguments,
                                                        bool shouldProceed = true) {
    const VeskAppBundleLaunchdAuthorization authorization(nullptr, nullptr);
    try {
      VeskAppBundleDetachedJobSubmitter().submit({.label = "job",
                                                  .domain = VeskAppBundleLaunchdJobDomain::system,
                                                  .programArguments = std::move(programArguments)},
                                                 authorization, [shouldProceed] { return shouldProceed; });
    } catch (const VeskUpdateInstallerError& error) {
      return error;
    }
    return std::nullopt;
  }

  TemporaryDirectory folder_;
};

TEST_F(VeskAppBundleDetachedJobSubmitterTest, RunsTheProgramWithItsArguments) {
  const ReportFifo report(folder_ / "report");

  EXPECT_EQ(submit({"/bin/sh", "-c", "echo \"$1|$2\" > \"$0\"", report.path().string(), "$HOME %i", ""}), std::nullopt);

  EXPECT_EQ(report.read(), "$HOME %i|\n");
}

TEST_F(VeskAppBundleDetachedJobSubmitterTest, ProgramThatCannotBeExecutedIsAFailure) {
  const std::string missing = (folder_ / "missing").string();

  EXPECT_EQ(submit({missing}),
            VeskUpdateInstallerError::replacementHelperLaunchFailed(
                {.phase = VeskAppBundleInstallerLaunchPhase::jobSubmission,
                 .errorDomain = "POSIX",
                 .errorCode = ENOENT,
                 .errorDescription = "Cannot start " + missing + ": No such file or directory (ENOENT)"}));
}

TEST_F(VeskAppBundleDetachedJobSubmitterTest, RunsNothingWhenItIsTooLate) {
  EXPECT_EQ(
      submit({"/usr/bin/touch", (folder_ / "made").string()}, false),
      VeskUpdateInstallerError::replacementHelperLaunchTimedOut(VeskAppBundleInstallerLaunchPhase::postAuthorization));
  EXPECT_FALSE(std::filesystem::exists(folder_ / "made"));
}

TEST_F(VeskAppBundleDetachedJobSubmitterTest, JobWithoutProgramIsAFailure) {
  EXPECT_TRUE(submit({}).has_value());
}

}  // namespace
}  // namespace quillon
