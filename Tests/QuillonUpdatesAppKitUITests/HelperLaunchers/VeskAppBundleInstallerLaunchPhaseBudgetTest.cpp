#include <gtest/gtest.h>

#include <atomic>
#include <limits>
#include <thread>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/VeskAppBundleInstallerLaunchPhaseBudget.h"

namespace quillon {
namespace {

using Budget = VeskAppBundleInstallerLaunchPhaseBudget;

constexpr std::uint64_t kEnd = std::numeric_limits<std::uint64_t>::max();

class VeskAppBundleInstallerLaunchPhaseBudgetTest : public testing::Test {
 protected:
  QuillonMonotonicTimeProvider clock() {
    return [this] { return now_.load(); };
  }

  std::atomic<std::uint64_t> now_ = 1000;
};

TEST_F(VeskAppBundleInstallerLaunchPhaseBudgetTest, TheTimeBeforeTheDialogRunsFromTheStartThroughItsLastNanosecond) {
  const Budget budget(50, 1, clock());

  EXPECT_TRUE(budget.preAuthorizationShouldProceed());
  now_ = 1050;
  EXPECT_TRUE(budget.preAuthorizationShouldProceed());
  now_ = 1051;
  EXPECT_FALSE(budget.preAuthorizationShouldProceed());
}

TEST_F(VeskAppBundleInstallerLaunchPhaseBudgetTest, ATimeoutOfZeroNeverProceeds) {
  Budget budget(0, 0, clock());
  budget.beginPostAuthorizationPhase();

  EXPECT_FALSE(budget.preAuthorizationShouldProceed());
  EXPECT_FALSE(budget.postAuthorizationShouldProceed());
}

TEST_F(VeskAppBundleInstallerLaunchPhaseBudgetTest, TheTimeAfterTheDialogRunsFromItsBeginning) {
  Budget budget(1, 50, clock());

  EXPECT_FALSE(budget.postAuthorizationShouldProceed());
  now_ = 5000;
  budget.beginPostAuthorizationPhase();
  now_ = 5050;
  EXPECT_TRUE(budget.postAuthorizationShouldProceed());
  now_ = 5051;
  EXPECT_FALSE(budget.postAuthorizationShouldProceed());
}

TEST_F(VeskAppBundleInstallerLaunchPhaseBudgetTest, DeadlinesStopAtTheEndOfTheClock) {
  Budget budget(kEnd, kEnd, clock());
  budget.beginPostAuthorizationPhase();

  now_ = kEnd;

  EXPECT_TRUE(budget.preAuthorizationShouldProceed());
  EXPECT_TRUE(budget.postAuthorizationShouldProceed());
}

TEST_F(VeskAppBundleInstallerLaunchPhaseBudgetTest, MayBeAskedWhileTheDialogEndsOnAnotherThread) {
  Budget budget(kEnd, kEnd, clock());

  std::jthread dialog([&] { budget.beginPostAuthorizationPhase(); });
  while (!budget.postAuthorizationShouldProceed()) {
    ASSERT_TRUE(budget.preAuthorizationShouldProceed());
  }
}

}  // namespace
}  // namespace quillon
