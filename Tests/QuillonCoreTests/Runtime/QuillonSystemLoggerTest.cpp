#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "QuillonCore/Runtime/QuillonLogLine.h"
#include "QuillonCore/Runtime/QuillonSystemLogger.h"
#include "Support/FixedClock.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class FakeJournal final : public QuillonJournalSending {
 public:
  bool send(std::span<const std::string> fields) noexcept override {
    if (!isThere) return false;
    entries.emplace_back(fields.begin(), fields.end());
    return true;
  }

  bool isThere = true;
  std::vector<std::vector<std::string>> entries;
};

class QuillonSystemLoggerTest : public ::testing::Test {
 protected:
  std::shared_ptr<FakeJournal> journal_ = std::make_shared<FakeJournal>();
  std::vector<std::string> lines_;
  QuillonSystemLogger logger_{
      {.identifier = "host", .minimumLevel = QuillonLogLevel::info},
      journal_,
      [this](std::string_view line) { lines_.emplace_back(line); },
      std::make_shared<testing::FixedClock>(std::chrono::sys_days(std::chrono::year(2024) / 6 / 5))};
};

TEST_F(QuillonSystemLoggerTest, TheJournalGetsTheFields) {
  logger_.warn([] { return std::string("text"); }, "feed");

  EXPECT_THAT(journal_->entries, ElementsAre(ElementsAre("MESSAGE=text", "PRIORITY=4", "SYSLOG_IDENTIFIER=host",
                                                         "QUILLON_CATEGORY=feed")));
  EXPECT_THAT(lines_, IsEmpty());
}

TEST_F(QuillonSystemLoggerTest, LevelsArePrioritiesOfTheSystem) {
  logger_.info([] { return std::string(); }, "");
  logger_.warn([] { return std::string(); }, "");
  logger_.error([] { return std::string(); }, "");

  ASSERT_EQ(journal_->entries.size(), 3U);
  EXPECT_EQ(journal_->entries[0][1], "PRIORITY=6");
  EXPECT_EQ(journal_->entries[1][1], "PRIORITY=4");
  EXPECT_EQ(journal_->entries[2][1], "PRIORITY=3");
}

TEST_F(QuillonSystemLoggerTest, WithoutAJournalThereIsALine) {
  journal_->isThere = false;

  logger_.error([] { return std::string("text"); }, "feed");

  EXPECT_THAT(lines_, ElementsAre("2024-06-05T00:00:00.000000Z error [feed] text\n"));
}

TEST_F(QuillonSystemLoggerTest, AMessageBelowTheLevelIsNotMade) {
  int calls = 0;

  logger_.debug(
      [&calls] {
        ++calls;
        return std::string();
      },
      "feed");

  EXPECT_EQ(calls, 0);
  EXPECT_THAT(journal_->entries, IsEmpty());
}

TEST_F(QuillonSystemLoggerTest, AFieldCannotBeForged) {
  logger_.error([] { return std::string("text\nPRIORITY=0"); }, "feed\nPRIORITY=0");

  ASSERT_EQ(journal_->entries.size(), 1U);
  EXPECT_EQ(journal_->entries[0][0], "MESSAGE=text\\x0aPRIORITY=0");
  EXPECT_EQ(journal_->entries[0][3], "QUILLON_CATEGORY=feed\\x0aPRIORITY=0");
}

TEST_F(QuillonSystemLoggerTest, ALongMessageIsCut) {
  logger_.error([] { return std::string(1'000'000, 'a'); }, "feed");

  ASSERT_EQ(journal_->entries.size(), 1U);
  EXPECT_EQ(journal_->entries[0][0].size(), std::string("MESSAGE=").size() + kLongestLogText);
}

TEST_F(QuillonSystemLoggerTest, AMessageThatCannotBeMadeIsLoggedAsThat) {
  logger_.error([]() -> std::string { throw std::runtime_error("reason"); }, "feed");

  ASSERT_EQ(journal_->entries.size(), 1U);
  EXPECT_EQ(journal_->entries[0][0], "MESSAGE=(the text of this message could not be made: reason)");
}

}  // namespace
}  // namespace quillon
