#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonUpdatesCore/VeskUpdateFeedPipelineApplier.h"
#include "QuillonUpdatesCoreTests/FeedMaking.h"

namespace quillon {
namespace {

/// A check that chose one entry, which is to be shown, in a host that remembers an entry of news.
class VeskUpdateFeedPipelineApplierTest : public ::testing::Test {
 protected:
  VeskUpdateFeedPipelineApplierTest() {
    choose(entryOf({{"type", "update"}, {"id", "an-id"}}));
    input_.canProcessUpdateFeeds = true;
    input_.shouldConfirmNoUpdatesDialog = true;
    input_.existingNewsDictionary = entryOf({{"news", "old-news"}, {"updates", "old-update"}});
    input_.feedTypeKey = "updates";
    input_.defaultRefetchIntervalSeconds = 600;
    input_.minimumRefetchIntervalSeconds = 3600;
  }

  void choose(const FeedDictionary& entry) {
    VeskUpdateFeedDisplayResult display;
    display.isEligibleForProcessing = true;
    display.shouldDisplayNow = true;
    display.resolvedFeedIdentifier = "an-id";
    input_.pipelineResult.selectedCandidate.reset();
    feed_ = feedOf({entry});
    input_.pipelineResult.selectedCandidate.emplace(VeskUpdateFeedProcessingCandidate{feed_.at(0), {}, display});
  }

  VeskUpdateFeedPipelineApplicationResult apply() {
    return VeskUpdateFeedPipelineApplier().apply(input_, [this](const VeskUpdateFeedEntry& entry) {
      shown_.emplace_back(stringOrEmpty(entry, "id"));
      return promptIsShown_;
    });
  }

  std::optional<double> intervalOf(const QuillonPropertyListValue& value) {
    FeedDictionary entry = entryOf({{"id", "an-id"}});
    entry.emplace("interval", value);
    choose(entry);
    input_.shouldSetSleepInterval = true;
    return apply().resolvedSleepInterval;
  }

  VeskUpdateFeed feed_ = feedOf({FeedDictionary()});
  VeskUpdateFeedPipelineApplicationInput input_;
  bool promptIsShown_ = true;
  std::vector<std::string> shown_;
};

TEST_F(VeskUpdateFeedPipelineApplierTest, AnEntryThatWasShownIsRemembered) {
  const VeskUpdateFeedPipelineApplicationResult result = apply();

  VeskUpdateFeedPipelineApplicationResult expected;
  expected.didProcessSelectedUpdate = true;
  expected.shouldMarkUpdateCheckPerformedOK = true;
  expected.shouldHideNoUpdatesFoundDialog = true;
  expected.updatedNewsDictionary = entryOf({{"news", "old-news"}, {"updates", "an-id"}});
  EXPECT_EQ(result, expected);
  EXPECT_EQ(shown_, std::vector<std::string>{"an-id"});
}

TEST_F(VeskUpdateFeedPipelineApplierTest, ATypeThatIsNotYetRememberedIsAdded) {
  input_.feedTypeKey = "another";

  EXPECT_EQ(apply().updatedNewsDictionary,
            entryOf({{"news", "old-news"}, {"updates", "old-update"}, {"another", "an-id"}}));
}

TEST_F(VeskUpdateFeedPipelineApplierTest, WhenThePromptWasNotShownNothingIsRemembered) {
  promptIsShown_ = false;

  const VeskUpdateFeedPipelineApplicationResult result = apply();

  VeskUpdateFeedPipelineApplicationResult expected;
  expected.didProcessSelectedUpdate = true;
  expected.shouldMarkUpdateCheckPerformedOK = true;
  EXPECT_EQ(result, expected);
  EXPECT_EQ(shown_.size(), 1U);
}

TEST_F(VeskUpdateFeedPipelineApplierTest, AnEntryThatIsNotToBeShownIsProcessedWithoutAPrompt) {
  input_.pipelineResult.selectedCandidate->display.shouldDisplayNow = false;

  const VeskUpdateFeedPipelineApplicationResult result = apply();

  EXPECT_TRUE(result.didProcessSelectedUpdate);
  EXPECT_FALSE(result.shouldHideNoUpdatesFoundDialog);
  EXPECT_FALSE(result.updatedNewsDictionary);
  EXPECT_TRUE(shown_.empty());
}

TEST_F(VeskUpdateFeedPipelineApplierTest, WithoutACandidateNothingHappens) {
  input_.pipelineResult.selectedCandidate.reset();
  input_.shouldSetSleepInterval = true;

  const VeskUpdateFeedPipelineApplicationResult result = apply();

  VeskUpdateFeedPipelineApplicationResult expected;
  expected.shouldMarkUpdateCheckPerformedOK = true;
  EXPECT_EQ(result, expected);
  EXPECT_TRUE(shown_.empty());
}

TEST_F(VeskUpdateFeedPipelineApplierTest, ACandidateWithoutIdentifierIsNone) {
  input_.pipelineResult.selectedCandidate->display.resolvedFeedIdentifier.reset();
  input_.shouldSetSleepInterval = true;

  const VeskUpdateFeedPipelineApplicationResult result = apply();

  EXPECT_FALSE(result.didProcessSelectedUpdate);
  EXPECT_FALSE(result.resolvedSleepInterval);
  EXPECT_TRUE(shown_.empty());
}

TEST_F(VeskUpdateFeedPipelineApplierTest, TheCheckIsMarkedWhetherAnEntryWasFoundOrNot) {
  for (const bool hasCandidate : {true, false}) {
    if (!hasCandidate) input_.pipelineResult.selectedCandidate.reset();
    for (const bool confirms : {true, false}) {
      for (const bool processes : {true, false}) {
        input_.shouldConfirmNoUpdatesDialog = confirms;
        input_.canProcessUpdateFeeds = processes;

        EXPECT_EQ(apply().shouldMarkUpdateCheckPerformedOK, confirms && processes);
      }
    }
  }
}

TEST_F(VeskUpdateFeedPipelineApplierTest, WithoutFeedProcessingAShownEntryDoesNotHideTheConfirmation) {
  input_.canProcessUpdateFeeds = false;

  const VeskUpdateFeedPipelineApplicationResult result = apply();

  EXPECT_FALSE(result.shouldHideNoUpdatesFoundDialog);
  EXPECT_TRUE(result.updatedNewsDictionary);
}

TEST_F(VeskUpdateFeedPipelineApplierTest, TheIntervalStaysWhenTheHostWantsNone) {
  EXPECT_EQ(apply().resolvedSleepInterval, std::nullopt);
}

TEST_F(VeskUpdateFeedPipelineApplierTest, AnIntervalIsReadFromAString) {
  EXPECT_EQ(intervalOf(QuillonPropertyListValue("7200")), 7200.0);
  EXPECT_EQ(intervalOf(QuillonPropertyListValue("+7200")), 7200.0);
  EXPECT_EQ(intervalOf(QuillonPropertyListValue("9223372036854775807")), 9223372036854775807.0);
}

TEST_F(VeskUpdateFeedPipelineApplierTest, AnIntervalIsTheIntegerOfANumber) {
  EXPECT_EQ(intervalOf(QuillonPropertyListValue(7200)), 7200.0);
  EXPECT_EQ(intervalOf(QuillonPropertyListValue(7200.9)), 7200.0);
  EXPECT_EQ(intervalOf(QuillonPropertyListValue(1e300)), 9223372036854775807.0);
  EXPECT_EQ(intervalOf(QuillonPropertyListValue(-1e300)), 3600.0);
  EXPECT_EQ(intervalOf(QuillonPropertyListValue(std::numeric_limits<double>::infinity())), 9223372036854775807.0);
}

TEST_F(VeskUpdateFeedPipelineApplierTest, AnIntervalUpToTheMinimumIsTheMinimum) {
  for (const char* const interval : {"30", "1", "3599", "3600", "-1", "-9223372036854775808"}) {
    EXPECT_EQ(intervalOf(QuillonPropertyListValue(interval)), 3600.0) << interval;
  }
  EXPECT_EQ(intervalOf(QuillonPropertyListValue("3601")), 3601.0);
}

TEST_F(VeskUpdateFeedPipelineApplierTest, AnIntervalThatIsNoneIsTheDefaultEvenBelowTheMinimum) {
  for (const char* const interval : {"0", "abc", "", "12a", " 7200", "9223372036854775808"}) {
    EXPECT_EQ(intervalOf(QuillonPropertyListValue(interval)), 600.0) << interval;
  }
  for (const QuillonPropertyListValue& interval :
       {QuillonPropertyListValue(0), QuillonPropertyListValue(0.5), QuillonPropertyListValue(true),
        QuillonPropertyListValue(std::numeric_limits<double>::quiet_NaN()),
        QuillonPropertyListValue(QuillonPropertyListValue::Array())}) {
    EXPECT_EQ(intervalOf(interval), 600.0);
  }
  choose(entryOf({{"id", "an-id"}}));
  EXPECT_EQ(apply().resolvedSleepInterval, 600.0) << "no interval at all";
}

TEST_F(VeskUpdateFeedPipelineApplierTest, ADefaultBelowZeroIsZero) {
  input_.defaultRefetchIntervalSeconds = -5;

  EXPECT_EQ(intervalOf(QuillonPropertyListValue("0")), 0.0);
}

}  // namespace
}  // namespace quillon
