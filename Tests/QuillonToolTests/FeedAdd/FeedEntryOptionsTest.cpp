#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "QuillonTool/FeedAdd/FeedEntryOptions.h"
#include "QuillonTool/QuillonToolUsageError.h"

namespace quillon {
namespace {

using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

auto read(const std::vector<std::string>& words) {
  const auto options = feedEntryOptions();
  return readFeedEntryOptions(QuillonToolArguments::parse(words, options));
}

TEST(FeedEntryOptionsTest, EachOptionIsAKeyOfTheEntry) {
  EXPECT_THAT(
      read({"--identifier", "3", "--release-notes-url", "https://e.com", "--important", "--minimum-os", "14"}),
      UnorderedElementsAre(Pair("id", "3"), Pair("url", "https://e.com"), Pair("important", "1"), Pair("os", "14")));
  EXPECT_THAT(read({}), IsEmpty());
}

TEST(FeedEntryOptionsTest, TwoOptionsForOneKeyAreAUsageErrorAndSoIsAnEmptyValue) {
  EXPECT_THROW(read({"--minimum-os", "14", "--os-range", "14-15"}), QuillonToolUsageError);
  EXPECT_THROW(read({"--title", ""}), QuillonToolUsageError);
}

}  // namespace
}  // namespace quillon
