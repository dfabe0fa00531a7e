#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"
#include "QuillonUpdatesCore/VeskUpdateFeedParser.h"
#include "QuillonUpdatesCore/VeskUpdateFeedParserError.h"
#include "QuillonUpdatesCoreTests/FeedMaking.h"

namespace quillon {
namespace {

/// The error that parsing `data` ends with.
std::optional<VeskUpdateFeedParserError> errorOf(std::optional<std::string> data) {
  try {
    (void)VeskUpdateFeedParser().parseFeed(std::move(data));
  } catch (const VeskUpdateFeedParserError& error) {
    return error;
  }
  return std::nullopt;
}

std::string xmlOf(std::string_view body) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">" + std::string(body) + "</plist>";
}

TEST(VeskUpdateFeedParserTest, NoDataIsNoFeed) {
  EXPECT_EQ(errorOf(std::nullopt), VeskUpdateFeedParserError::feedNotFound());
}

TEST(VeskUpdateFeedParserTest, BytesThatAreNoPropertyListFailToParse) {
  for (const char* const bytes : {"", "<html><body>Not found</body></html>", "bplist00", "(a, b", "\xFF\xFE\xFD",
                                  "<plist><array><dict><key>a</key></dict></array></plist>"}) {
    EXPECT_EQ(errorOf(bytes), VeskUpdateFeedParserError::feedFailedToParse()) << bytes;
  }
}

TEST(VeskUpdateFeedParserTest, AnotherRootThanAnArrayIsNoFeed) {
  for (const char* const body : {"<dict/>", "<string>update</string>", "<true/>", "<integer>1</integer>"}) {
    EXPECT_EQ(errorOf(xmlOf(body)), VeskUpdateFeedParserError::feedNotFound()) << body;
  }
}

TEST(VeskUpdateFeedParserTest, AnEmptyArrayIsNoFeed) {
  EXPECT_EQ(errorOf(xmlOf("<array/>")), VeskUpdateFeedParserError::feedNotFound());
}

TEST(VeskUpdateFeedParserTest, AnArrayThatMixesDictionariesWithAnotherValueIsNoFeed) {
  EXPECT_EQ(errorOf(xmlOf("<array><dict/><string>a</string></array>")), VeskUpdateFeedParserError::feedNotFound());
  EXPECT_EQ(errorOf(xmlOf("<array><array/><dict/></array>")), VeskUpdateFeedParserError::feedNotFound());
}

TEST(VeskUpdateFeedParserTest, XMLIsReadInItsOrder) {
  const VeskUpdateFeed feed = VeskUpdateFeedParser().parseFeed(
      xmlOf("<array><dict><key>id</key><string>b</string></dict><dict><key>id</key><string>a</string></dict></array>"));

  ASSERT_EQ(feed.size(), 2U);
  EXPECT_EQ(stringOrEmpty(feed.at(0), "id"), "b");
  EXPECT_EQ(stringOrEmpty(feed.at(1), "id"), "a");
}

TEST(VeskUpdateFeedParserTest, BinaryIsRead) {
  const QuillonPropertyListValue::Array array{QuillonPropertyListValue(entryOf({{"type", "update"}, {"id", "a"}}))};

  const VeskUpdateFeed feed =
      VeskUpdateFeedParser().parseFeed(writeBinaryPropertyList(QuillonPropertyListValue(array)));

  ASSERT_EQ(feed.size(), 1U);
  EXPECT_EQ(stringOrEmpty(feed.at(0), "type"), "update");
}

TEST(VeskUpdateFeedParserTest, EntriesOfAnyContentStayAsTheyAre) {
  const VeskUpdateFeed feed = VeskUpdateFeedParser().parseFeed(
      xmlOf("<array><dict/><dict><key>type</key><integer>7</integer><key>unknown</key><true/></dict></array>"));

  ASSERT_EQ(feed.size(), 2U);
  EXPECT_EQ(feed.at(0).size(), 0U);
  EXPECT_EQ(feed.at(1).find("type")->integerIf(), 7);
  EXPECT_EQ(feed.at(1).find("unknown")->boolIf(), true);
}

TEST(VeskUpdateFeedParserTest, OfTwoEqualKeysTheLastCounts) {
  const VeskUpdateFeed feed = VeskUpdateFeedParser().parseFeed(
      xmlOf("<array><dict><key>id</key><string>a</string><key>id</key><string>b</string></dict></array>"));

  EXPECT_EQ(stringOrEmpty(feed.at(0), "id"), "b");
}

TEST(VeskUpdateFeedParserTest, DeepNestingFailsToParse) {
  std::string body = "<array><dict><key>a</key>";
  for (int depth = 0; depth < 10'000; ++depth) body += "<array>";

  EXPECT_EQ(errorOf(xmlOf(body)), VeskUpdateFeedParserError::feedFailedToParse());
}

TEST(VeskUpdateFeedParserTest, StringsLieInTheBytesThatWereHandedOver) {
  std::string bytes = xmlOf("<array><dict><key>id</key><string>an identifier of some length</string></dict></array>");
  const char* const begin = bytes.data();
  const char* const end = begin + bytes.size();

  const VeskUpdateFeed feed = VeskUpdateFeedParser().parseFeed(std::move(bytes));

  const std::string_view identifier = stringOrEmpty(feed.at(0), "id");
  EXPECT_TRUE(identifier.data() >= begin && identifier.data() < end) << "nothing of the feed is copied";
}

}  // namespace
}  // namespace quillon
