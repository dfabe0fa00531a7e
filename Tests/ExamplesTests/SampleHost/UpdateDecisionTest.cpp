#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>

#include "QuillonCore/Runtime/QuillonNoopLogger.h"
#include "QuillonUpdatesCore/VeskUpdateFeedParser.h"
#include "SampleHost/Sources/UpdateDecision.h"
#include "Support/FakeKeyValueStore.h"

namespace sample {
namespace {

using quillon::QuillonDate;
using std::chrono::hours;

constexpr QuillonDate kNow = std::chrono::sys_days{std::chrono::year{2026} / std::chrono::May / std::chrono::day{4}};

/// A feed that offers version 2.0.
quillon::VeskUpdateFeed feed() {
  return quillon::VeskUpdateFeedParser().parseFeed(
      "<plist "
      "version=\"1.0\"><array><dict><key>type</key><string>update</string><key>id</key><string>sample-2.0</string>"
      "<key>current</key><string>2.0</string><key>currentbuild</key><string>1</string></dict></array></plist>");
}

class UpdateDecisionTest : public ::testing::Test {
 protected:
  /// Whether the entry is shown at a check that nobody has asked for.
  [[nodiscard]] bool isShown() {
    const auto offered = feed();
    const auto decision = decideOnUpdate(offered, host_, memory_, false, kNow);
    return decision.selectedCandidate && decision.selectedCandidate->display.shouldDisplayNow;
  }

  const HostInformation host_{.bundle = quillon::QuillonURL::fileURL("/Sample.app"),
                              .identifier = "org.example.Sample",
                              .name = "Sample",
                              .version = "1.0",
                              .build = 1,
                              .feed = quillon::QuillonURL::fileURL("/feed.plist"),
                              .downloadPage = {},
                              .distribution = {},
                              .team = {}};
  quillon::VeskUpdateMemory memory_{std::make_shared<quillon::testing::FakeKeyValueStore>(),
                                    std::make_shared<quillon::QuillonNoopLogger>()};
};

TEST_F(UpdateDecisionTest, AnOfferIsRepeatedWhenTheReminderDelayIsOver) {
  EXPECT_TRUE(isShown());
  memory_.setLastShown(kNow - hours(23));
  EXPECT_FALSE(isShown());
  memory_.setLastShown(kNow - hours(24));
  EXPECT_TRUE(isShown());
}

TEST_F(UpdateDecisionTest, AnOfferFromBeforeTheClockWasSetBackDelaysNothing) {
  memory_.setLastShown(kNow + hours(1));

  EXPECT_TRUE(isShown());
}

}  // namespace
}  // namespace sample
