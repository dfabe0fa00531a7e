#include <gtest/gtest.h>

#include <chrono>

#include "QuillonTool/Update/UpdateOutcome.h"

namespace quillon {
namespace {

using Result = UpdateOutcome::Result;

QuillonToolExitStatus statusOf(Result result) {
  UpdateOutcome outcome;
  outcome.result = result;
  return outcome.exitStatus();
}

TEST(UpdateOutcomeTest, ScriptsTellOutcomesApartByTheExitStatus) {
  EXPECT_EQ(statusOf(Result::upToDate), 0);
  EXPECT_EQ(statusOf(Result::withheld), 0);
  EXPECT_EQ(statusOf(Result::notDue), 0);
  EXPECT_EQ(statusOf(Result::launched), 0);
  EXPECT_EQ(statusOf(Result::installerOpened), 0);
  EXPECT_EQ(statusOf(Result::failed), 1);
  EXPECT_EQ(statusOf(Result::offered), 10);
  EXPECT_EQ(statusOf(Result::cancelled), 130);
}

TEST(UpdateOutcomeTest, TheObjectHasEveryMemberAlways) {
  EXPECT_EQ(UpdateOutcome().json().text(),
            "{\"result\":\"failed\",\"identifier\":\"\",\"version\":\"\",\"build\":0,\"offer\":null,\"error\":null,"
            "\"previousFailure\":null,\"nextCheck\":null}");
}

TEST(UpdateOutcomeTest, TheObjectSaysWhatHappened) {
  UpdateOutcome outcome;
  outcome.result = Result::offered;
  outcome.identifier = "org.example.App";
  outcome.version = "1.0";
  outcome.build = 7;
  outcome.offer =
      UpdateOutcome::Offer{.identifier = "2.0", .version = "2.0b", .build = "8", .title = "Example", .isBeta = true};
  outcome.error = UpdateOutcome::Error{.code = "word", .message = "text"};
  outcome.previousFailure =
      UpdateOutcome::PreviousFailure{.description = "replacementFailed",
                                     .failedAt = std::chrono::sys_days{std::chrono::year{2026} / 6 / 11},
                                     .version = "2.0"};
  outcome.nextCheck = std::chrono::sys_days{std::chrono::year{2026} / 6 / 12};

  EXPECT_EQ(outcome.json().text(),
            "{\"result\":\"offered\",\"identifier\":\"org.example.App\",\"version\":\"1.0\",\"build\":7,"
            "\"offer\":{\"identifier\":\"2.0\",\"version\":\"2.0b\",\"build\":\"8\",\"title\":\"Example\","
            "\"isBeta\":true},\"error\":{\"code\":\"word\",\"message\":\"text\"},"
            "\"previousFailure\":{\"description\":\"replacementFailed\",\"failedAt\":\"2026-06-11T00:00:00Z\","
            "\"version\":\"2.0\"},\"nextCheck\":\"2026-06-12T00:00:00Z\"}");
}

TEST(UpdateOutcomeTest, EveryResultHasAName) {
  EXPECT_EQ(name(Result::upToDate), "upToDate");
  EXPECT_EQ(name(Result::withheld), "withheld");
  EXPECT_EQ(name(Result::notDue), "notDue");
  EXPECT_EQ(name(Result::offered), "offered");
  EXPECT_EQ(name(Result::launched), "launched");
  EXPECT_EQ(name(Result::installerOpened), "installerOpened");
  EXPECT_EQ(name(Result::cancelled), "cancelled");
  EXPECT_EQ(name(Result::failed), "failed");
}

TEST(UpdateOutcomeTest, AYearThatTheFormHasNoRoomForIsNull) {
  EXPECT_EQ(dateText(QuillonDate::max()), std::nullopt);
  EXPECT_EQ(dateText(std::nullopt), std::nullopt);
}

}  // namespace
}  // namespace quillon
