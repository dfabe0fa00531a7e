#include <gtest/gtest.h>

#include <string>

#include "QuillonTool/FeedLint/FeedKeyTable.h"

namespace quillon {
namespace {

TEST(FeedKeyTableTest, EveryKeyIsKnownAndNearestToItself) {
  for (const std::string_view key : knownFeedKeys()) {
    EXPECT_TRUE(isKnownFeedKey(key));
    EXPECT_EQ(similarFeedKey(key), key);
  }
  EXPECT_FALSE(isKnownFeedKey("Type"));
}

TEST(FeedKeyTableTest, CaseHyphensAndUnderscoresDoNotCount) {
  EXPECT_EQ(similarFeedKey("releaseDate"), "releasedate");
  EXPECT_EQ(similarFeedKey("current_build"), "currentbuild");
  EXPECT_EQ(similarFeedKey("app installer"), "app-installer");
}

TEST(FeedKeyTableTest, AFewLettersMayDiffer) {
  EXPECT_EQ(similarFeedKey("langs"), "lang");
  EXPECT_EQ(similarFeedKey("importent"), "important");
  EXPECT_EQ(similarFeedKey("relasedat"), "releasedate");
}

TEST(FeedKeyTableTest, OtherWordsAreSimilarToNothing) {
  EXPECT_EQ(similarFeedKey("channel"), std::nullopt);
  EXPECT_EQ(similarFeedKey("x"), std::nullopt);
  EXPECT_EQ(similarFeedKey(""), std::nullopt);
  EXPECT_EQ(similarFeedKey(std::string(1'000'000, 'o')), std::nullopt);
}

}  // namespace
}  // namespace quillon
