#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

#include "QuillonCore/Runtime/QuillonNoopLogger.h"
#include "SampleHost/Sources/AttemptNotingLauncher.h"
#include "Support/FakeKeyValueStore.h"
#include "Support/ReplacementRequestBuilder.h"
#include "Support/UpdateInstallationWorld.h"

namespace sample {
namespace {

using quillon::VeskUpdateAttempt;
using ::testing::ElementsAre;
using Result = quillon::VeskAppBundleReplacementLaunchResult;

class AttemptNotingLauncherTest : public ::testing::Test {
 protected:
  /// The attempt that is noted after a launch with that result.
  [[nodiscard]] std::optional<VeskUpdateAttempt> noteAfter(const Result& result) {
    inner_->answer = result;
    EXPECT_EQ(launcher_.launchReplacement(request_, {}), result);
    return memory_->attempt();
  }

  const VeskUpdateAttempt attempt_{.identifier = "A-1", .fromVersion = "1.0", .fromBuild = 1, .toVersion = "2.0"};
  const quillon::VeskAppBundleReplacementRequest request_ =
      quillon::testing::makeReplacementRequest("/Staged.app", "/Installed.app");
  const std::shared_ptr<quillon::testing::FakeHelperLauncher> inner_ =
      std::make_shared<quillon::testing::FakeHelperLauncher>(std::make_shared<quillon::testing::Interactions>());
  const std::shared_ptr<quillon::VeskUpdateMemory> memory_ = std::make_shared<quillon::VeskUpdateMemory>(
      std::make_shared<quillon::testing::FakeKeyValueStore>(), std::make_shared<quillon::QuillonNoopLogger>());
  AttemptNotingLauncher launcher_{inner_, memory_, attempt_};
};

TEST_F(AttemptNotingLauncherTest, NothingIsNotedBeforeTheHandOff) {
  EXPECT_EQ(memory_->attempt(), std::nullopt);
}

TEST_F(AttemptNotingLauncherTest, TheAttemptIsNotedWhenTheInstallerIsStarted) {
  std::optional<VeskUpdateAttempt> noted;
  inner_->onLaunch = [&](const auto&) { noted = memory_->attempt(); };

  EXPECT_EQ(launcher_.launchReplacement(request_, {}), Result::launched());

  EXPECT_EQ(noted, attempt_);
  EXPECT_THAT(inner_->requests, ElementsAre(request_));
}

TEST_F(AttemptNotingLauncherTest, AnAttemptBehindWhichAnInstallerMayBeAtWorkStaysNoted) {
  EXPECT_EQ(noteAfter(Result::launched()), attempt_);
  EXPECT_EQ(noteAfter(Result::protocolFailure({})), attempt_);
  EXPECT_EQ(noteAfter(Result::timedOut(quillon::VeskAppBundleInstallerLaunchPhase::messageResolution)), attempt_);
}

TEST_F(AttemptNotingLauncherTest, AnAttemptThatStartedNothingIsForgotten) {
  for (const Result& result : {Result::launchFailed({}), Result::authorizationDenied(-60005),
                               Result::authorizationCancelled(-60006), Result::helperUnavailable()}) {
    EXPECT_EQ(noteAfter(result), std::nullopt) << result.caseName();
  }
}

}  // namespace
}  // namespace sample
