#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <utility>
#include <vector>

#include "QuillonCore/Values/QuillonError.h"
#include "QuillonTool/Update/QuitAwaitingHelperLauncher.h"
#include "Support/ReplacementRequestBuilder.h"
#include "Support/UpdateInstallationWorld.h"

namespace quillon {
namespace {

using Result = VeskAppBundleReplacementLaunchResult;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class QuitAwaitingHelperLauncherTest : public ::testing::Test {
 protected:
  Result launch(QuitAwaitingHelperLauncher& launcher) const { return launcher.launchReplacement(request_, {}); }

  const VeskAppBundleReplacementRequest request_ = testing::makeReplacementRequest("/Staged.app", "/Installed.app");
  const std::shared_ptr<testing::FakeHelperLauncher> inner_ =
      std::make_shared<testing::FakeHelperLauncher>(std::make_shared<testing::Interactions>());
};

TEST_F(QuitAwaitingHelperLauncherTest, TheInstallerIsLaunchedOnceTheApplicationHasQuit) {
  std::size_t launchesBefore = 1;
  QuitAwaitingHelperLauncher launcher(inner_, [&](const QuillonURL& bundle) {
    EXPECT_EQ(bundle, request_.installedApplicationURL);
    launchesBefore = inner_->requests.size();
    return std::vector<ApplicationProcess>();
  });

  EXPECT_EQ(launch(launcher), Result::launched());

  EXPECT_EQ(launchesBefore, 0U);
  EXPECT_THAT(inner_->requests, ElementsAre(request_));
  EXPECT_THAT(launcher.processesThatStayed(), IsEmpty());
}

TEST_F(QuitAwaitingHelperLauncherTest, NothingIsLaunchedWhileTheApplicationStays) {
  const ApplicationProcess process{.identifier = 5, .name = "Example"};
  QuitAwaitingHelperLauncher launcher(inner_, [&](const QuillonURL&) { return std::vector{process}; });

  EXPECT_EQ(launch(launcher).caseName(), "launchFailed");

  EXPECT_THAT(inner_->requests, IsEmpty());
  EXPECT_THAT(launcher.processesThatStayed(), ElementsAre(process));
}

TEST_F(QuitAwaitingHelperLauncherTest, NothingIsLaunchedWhenTheWaitIsGivenUp) {
  QuitAwaitingHelperLauncher launcher(
      inner_, [](const QuillonURL&) -> std::vector<ApplicationProcess> { throw QuillonCancellationError(); });

  EXPECT_EQ(launch(launcher).caseName(), "launchFailed");

  EXPECT_THAT(inner_->requests, IsEmpty());
  EXPECT_THAT(launcher.processesThatStayed(), IsEmpty());
}

TEST_F(QuitAwaitingHelperLauncherTest, ALaunchWhoseEndNobodyHeardOfMayHaveSucceeded) {
  const auto nobodyRuns = [](const QuillonURL&) { return std::vector<ApplicationProcess>(); };
  for (const auto& [result, mayHaveLaunched] :
       {std::pair(Result::protocolFailure({}), true), std::pair(Result::launched(), false),
        std::pair(Result::authorizationCancelled(-60006), false)}) {
    inner_->answer = result;
    QuitAwaitingHelperLauncher launcher(inner_, nobodyRuns);
    EXPECT_FALSE(launcher.mayHaveLaunched());

    EXPECT_EQ(launch(launcher), result);

    EXPECT_EQ(launcher.mayHaveLaunched(), mayHaveLaunched) << result.caseName();
  }
}

}  // namespace
}  // namespace quillon
