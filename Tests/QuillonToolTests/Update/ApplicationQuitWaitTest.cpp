#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <vector>

#include "QuillonCore/Values/QuillonError.h"
#include "QuillonTool/Update/ApplicationQuitWait.h"
#include "QuillonToolTests/Update/UpdateCommandWorld.h"

namespace quillon {
namespace {

using Processes = std::vector<ApplicationProcess>;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ApplicationQuitWaitTest : public ::testing::Test {
 protected:
  Processes wait(std::optional<std::chrono::seconds> limit = std::nullopt) {
    processes_->answer = [this](const QuillonURL&) {
      return looks_ < present_.size() ? present_[looks_++] : Processes();
    };
    const ApplicationQuitWait wait(processes_, limit, [this](std::chrono::milliseconds duration, const auto&) {
      waited_ += duration;
      if (onPause_) onPause_();
    });
    return wait.wait(
        QuillonURL::fileURL("/A.app"), [](const ApplicationProcess& process) { return !process.isInstaller; },
        [this](const Processes& processes) { reports_.push_back(processes); }, stopSource_.get_token());
  }

  const ApplicationProcess one_{.identifier = 1, .name = "Example"};
  const ApplicationProcess two_{.identifier = 2, .name = "Example"};
  const std::shared_ptr<testing::FakeApplicationProcesses> processes_ =
      std::make_shared<testing::FakeApplicationProcesses>();
  std::vector<Processes> present_;
  std::size_t looks_ = 0;
  std::vector<Processes> reports_;
  std::chrono::milliseconds waited_{0};
  std::function<void()> onPause_;
  std::stop_source stopSource_;
};

TEST_F(ApplicationQuitWaitTest, NothingIsWaitedForWhenNothingRuns) {
  EXPECT_THAT(wait(), IsEmpty());

  EXPECT_THAT(reports_, IsEmpty());
  EXPECT_EQ(waited_.count(), 0);
}

TEST_F(ApplicationQuitWaitTest, WhoIsWaitedForIsReportedWheneverItChanges) {
  present_ = {{one_, two_}, {one_, two_}, {two_}};

  EXPECT_THAT(wait(), IsEmpty());

  EXPECT_THAT(reports_, ElementsAre(Processes{one_, two_}, Processes{two_}));
  EXPECT_EQ(waited_, 3 * ApplicationQuitWait::interval);
}

TEST_F(ApplicationQuitWaitTest, AfterTheLimitThoseThatStayAreNamed) {
  present_ = std::vector<Processes>(100, {one_});

  EXPECT_THAT(wait(std::chrono::seconds(1)), ElementsAre(one_));

  EXPECT_EQ(waited_, std::chrono::seconds(1));
}

TEST_F(ApplicationQuitWaitTest, ALimitOfZeroLooksOnce) {
  present_ = {{one_}};

  EXPECT_THAT(wait(std::chrono::seconds(0)), ElementsAre(one_));

  EXPECT_EQ(waited_.count(), 0);
}

TEST_F(ApplicationQuitWaitTest, ProcessesThatDoNotCountAreNotWaitedFor) {
  present_ = {{{.identifier = 3, .name = "QuillonUpdateInstaller", .isInstaller = true}}};

  EXPECT_THAT(wait(), IsEmpty());
}

TEST_F(ApplicationQuitWaitTest, AStopEndsTheWait) {
  present_ = std::vector<Processes>(100, {one_});
  onPause_ = [this] { stopSource_.request_stop(); };

  EXPECT_THROW((void)wait(), QuillonCancellationError);
}

}  // namespace
}  // namespace quillon
