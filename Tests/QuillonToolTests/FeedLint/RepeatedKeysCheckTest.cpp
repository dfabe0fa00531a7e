#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "QuillonTool/FeedLint/FeedLint.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// What is found to be repeated in the entry with these keys, each of which has a value.
std::vector<FeedFinding> findingsOf(const std::string& keysAndValues) {
  std::vector<FeedFinding> findings =
      lintFeedBytes("<plist><array><dict><key>type</key><string>news</string></dict><dict>" + keysAndValues +
                    "</dict></array></plist>")
          .findings;
  std::erase_if(findings, [](const FeedFinding& finding) { return !finding.problem.ends_with("more than once."); });
  return findings;
}

TEST(RepeatedKeysCheckTest, KeysOfOneValueAreFine) {
  EXPECT_THAT(findingsOf("<key>type</key><string>news</string><key>id</key><string>1</string>"), IsEmpty());
}

TEST(RepeatedKeysCheckTest, AKeyThatIsRepeatedIsAnErrorAtItsEntry) {
  EXPECT_THAT(findingsOf("<key>type</key><string>update</string><key>os</key><string>13</string>"
                         "<key>os</key><string>14</string><key>os</key><string>14</string>"),
              ElementsAre(FeedFinding{.index = 1,
                                      .key = "os",
                                      .severity = FeedFindingSeverity::error,
                                      .problem = "The key \"os\" stands in the entry more than once.",
                                      .effect = "Hosts read its last value and none of the others.",
                                      .mend = "Leave the value in that is meant, and the others out."}));
}

TEST(RepeatedKeysCheckTest, ItIsOneToWhoeverReadsTheEntry) {
  EXPECT_EQ(findingsOf("<key>type</key><string>news</string><key>type</key><string>news</string>").size(), 1U);
}

TEST(RepeatedKeysCheckTest, DictionariesWithinAnEntryAreTheirReadersAffair) {
  EXPECT_THAT(findingsOf("<key>type</key><string>news</string><key>more</key><dict><key>a</key><true/><key>a</key>"
                         "<true/></dict>"),
              IsEmpty());
}

}  // namespace
}  // namespace quillon
