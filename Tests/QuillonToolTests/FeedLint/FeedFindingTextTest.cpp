#include <gtest/gtest.h>

#include "QuillonTool/FeedLint/FeedFindingText.h"

namespace quillon {
namespace {

const FeedFinding kFinding{.index = 1,
                           .key = "important",
                           .severity = FeedFindingSeverity::error,
                           .problem = "It is wrong.",
                           .effect = "It counts for nothing.",
                           .mend = "Write \"1\"."};

TEST(FeedFindingTextTest, ALineSaysWhereWhatAndHowToMendIt) {
  EXPECT_EQ(findingLine(kFinding), "entry 2, important: error: It is wrong. It counts for nothing. Write \"1\".");
}

TEST(FeedFindingTextTest, AFindingCanBeAboutTheEntryOrTheFeed) {
  FeedFinding finding = kFinding;
  finding.severity = FeedFindingSeverity::warning;
  finding.key.clear();
  EXPECT_TRUE(findingLine(finding).starts_with("entry 2: warning: "));
  finding.index.reset();
  EXPECT_TRUE(findingLine(finding).starts_with("feed: warning: "));
  EXPECT_TRUE(findingObject(finding).text().starts_with(R"({"index":null,"key":null,"severity":"warning",)"));
}

TEST(FeedFindingTextTest, AnObjectHasEverythingAndCountsFromZero) {
  EXPECT_EQ(findingObject(kFinding).text(),
            R"({"index":1,"key":"important","severity":"error","problem":"It is wrong.",)"
            R"("effect":"It counts for nothing.","mend":"Write \"1\"."})");
}

}  // namespace
}  // namespace quillon
