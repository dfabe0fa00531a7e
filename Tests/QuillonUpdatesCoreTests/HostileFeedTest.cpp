// Feeds that were made to do harm. Only the parser fails, and with its two errors only; whatever it lets through is
// evaluated with an answer.

#include <gtest/gtest.h>
#include <malloc.h>

#include <chrono>
#include <cstddef>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"
#include "QuillonUpdatesCore/VeskUpdateFeedKeys.h"
#include "QuillonUpdatesCore/VeskUpdateFeedParser.h"
#include "QuillonUpdatesCore/VeskUpdateFeedParserError.h"
#include "QuillonUpdatesCore/VeskUpdateFeedPipelineApplier.h"
#include "QuillonUpdatesCore/VeskUpdateFeedPipelineEvaluator.h"
#include "QuillonUpdatesCore/VeskUpdateVersionComparison.h"
#include "QuillonUpdatesCoreTests/FeedMaking.h"

namespace quillon {
namespace {

using Keys = VeskUpdateFeedKeys;
using Value = QuillonPropertyListValue;

constexpr std::size_t kMillion = 1'000'000;

std::string xmlFeed(std::string_view entries) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><array>" + std::string(entries) +
         "</array></plist>";
}

std::string repeated(std::string_view text, std::size_t length) {
  std::string result;
  result.reserve(length + text.size());
  while (result.size() < length) result += text;
  return result;
}

/// The error that parsing `data` ends with; absent when there is a feed.
std::optional<VeskUpdateFeedParserError> errorOf(std::string data) {
  try {
    (void)VeskUpdateFeedParser().parseFeed(std::move(data));
  } catch (const VeskUpdateFeedParserError& error) {
    return error;
  }
  return std::nullopt;
}

VeskUpdateFeedApplicabilityContext installation() {
  VeskUpdateFeedApplicabilityContext context;
  context.appVersion = "2.1";
  context.appBuild = 119;
  context.currentOSVersion = "14.2";
  context.preferredLanguageCode = "en";
  context.acceptedSKUs = {"direct"};
  context.canProcessUpdateFeeds = true;
  context.shouldApplyUserStaggering = true;
  context.userStaggerGroup = 3;
  context.now = std::chrono::sys_days(std::chrono::year(2024) / 6 / 15);
  return context;
}

VeskUpdateFeedDisplayContext display() {
  VeskUpdateFeedDisplayContext context;
  context.appVersion = installation().appVersion;
  context.canProcessUpdateFeeds = true;
  context.now = installation().now;
  return context;
}

VeskUpdateFeedPipelineResult evaluated(const VeskUpdateFeed& feed) {
  return VeskUpdateFeedPipelineEvaluator().evaluate(feed, {}, installation(), display(),
                                                    &VeskUpdateVersionComparison::compare);
}

VeskUpdateFeedApplicabilityResult applicability(const VeskUpdateFeed& feed,
                                                const VeskUpdateVersionComparing& comparator) {
  return VeskUpdateFeedEligibilityEvaluator().evaluateApplicability(feed.at(0), installation(), comparator);
}

VeskUpdateFeedApplicabilityResult applicability(const FeedDictionary& entry) {
  return applicability(feedOf({entry}), &VeskUpdateVersionComparison::compare);
}

/// The interval that an entry with `value` asks for, where the default is 7 seconds and the least is 60.
std::optional<double> interval(const Value& value) {
  FeedDictionary entry = entryOf({{"type", "update"}, {"id", "a"}, {"current", "3.0"}});
  entry.emplace(std::string(Keys::interval), value);
  const VeskUpdateFeed feed = feedOf({entry});
  VeskUpdateFeedPipelineApplicationInput input;
  input.pipelineResult = evaluated(feed);
  input.shouldSetSleepInterval = true;
  input.defaultRefetchIntervalSeconds = 7;
  input.minimumRefetchIntervalSeconds = 60;
  return VeskUpdateFeedPipelineApplier()
      .apply(input, [](const VeskUpdateFeedEntry&) { return true; })
      .resolvedSleepInterval;
}

/// Bytes of the heap that are in use; 0 where a sanitizer keeps the heap.
std::size_t heapInUse() {
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

TEST(HostileFeedTest, AHundredMegabytesOfEntriesTakeNoMoreThanTheirSizeAgain) {
  std::string bytes =
      xmlFeed(repeated("<dict><key>type</key><string>update</string><key>version</key><string>9.0-9.9</string>"
                       "<key>current</key><string>10.0</string><key>releasedate</key><string>2024-02-30</string>"
                       "<key>title</key><string>" +
                           std::string(1000, 'a') + "</string></dict>",
                       100 * kMillion));
  const std::size_t size = bytes.size();
  const std::size_t before = heapInUse();

  const VeskUpdateFeed feed = VeskUpdateFeedParser().parseFeed(std::move(bytes));
  const bool isOffered = evaluated(feed).selectedCandidate.has_value();

  EXPECT_GT(feed.size(), 50'000U);
  EXPECT_FALSE(isOffered);
  EXPECT_LT(heapInUse(), before + size);
}

TEST(HostileFeedTest, NestingBelowTheLimitIsPassedOverAndMoreFailsToParse) {
  const auto nested = [](std::size_t depth) {
    return xmlFeed("<dict><key>id</key>" + repeated("<array>", depth * 7) + repeated("</array>", depth * 8) +
                   "<key>type</key><string>update</string></dict>");
  };

  const VeskUpdateFeed feed = VeskUpdateFeedParser().parseFeed(nested(500));

  EXPECT_EQ(applicability(feed, &VeskUpdateVersionComparison::compare).resolvedFeedIdentifier, std::nullopt);
  EXPECT_FALSE(evaluated(feed).selectedCandidate);
  EXPECT_EQ(errorOf(nested(100'000)), VeskUpdateFeedParserError::feedFailedToParse());
}

TEST(HostileFeedTest, ValuesOfAnotherTypeInEveryKeyCountAsMissing) {
  const VeskUpdateFeedApplicabilityResult ofNothing = applicability(FeedDictionary());
  const VeskUpdateFeedApplicabilityResult ofAnUpdate = applicability(entryOf({{"type", "update"}}));
  for (const Value& value :
       {Value(true), Value(1), Value(1.5), Value(QuillonPropertyListData{{'1'}}), Value(QuillonPropertyListDate{}),
        Value(Value::Array{Value("update")}), Value(Value::Dictionary{{"type", Value("update")}})}) {
    FeedDictionary entry;
    for (const std::string_view key :
         {Keys::type, Keys::version, Keys::uid, Keys::sku, Keys::language, Keys::os, Keys::currentVersion,
          Keys::currentBuild, Keys::mustUpdate, Keys::important, Keys::releaseDate}) {
      entry.emplace(std::string(key), value);
    }

    EXPECT_EQ(applicability(entry), ofNothing);
    entry.insert_or_assign(std::string(Keys::type), Value("update"));
    EXPECT_EQ(applicability(entry), ofAnUpdate);
    EXPECT_FALSE(evaluated(feedOf({entry})).selectedCandidate) << "an entry without an identifier is never shown";
  }
}

TEST(HostileFeedTest, OfAnEntryWithVeryManyKeysTheKnownOnesAreFound) {
  FeedDictionary entry = entryOf({{"type", "update"}, {"id", "an-id"}, {"current", "3.0"}});
  for (int i = 0; i < 20'000; ++i) entry.emplace("key" + std::to_string(i), Value("value"));

  const VeskUpdateFeed feed = feedOf({entry});

  ASSERT_TRUE(evaluated(feed).selectedCandidate);
  EXPECT_EQ(evaluated(feed).selectedCandidate->display.resolvedFeedIdentifier, "an-id");
}

TEST(HostileFeedTest, ARangeOfAMillionCharactersIsHandedToTheOrderingOnce) {
  for (const std::string_view part : {"1.", "0", "-", " ", "b ", "beta", "1-", "\u0301", "\u00A0b"}) {
    const std::string range = repeated(part, kMillion);
    const VeskUpdateFeed feed = feedOf({entryOf({{"type", "update"}, {"version", range}, {"current", range}})});
    std::size_t bytesCompared = 0;
    const auto counting = [&bytesCompared](std::string_view a, std::string_view b) {
      bytesCompared += a.size() + b.size();
      return VeskUpdateVersionComparison::compare(a, b);
    };

    const VeskUpdateFeedApplicabilityResult result = applicability(feed, counting);

    EXPECT_EQ(result.resolvedFeedIdentifier, range);
    EXPECT_LE(bytesCompared, 2 * range.size() + 100) << "of the range each bound once, and the offered version once";
  }
}

TEST(HostileFeedTest, AVersionOfAMillionCharactersIsOrdered) {
  using Compare = VeskUpdateVersionComparison;

  EXPECT_EQ(Compare::compare(repeated("1.", kMillion) + "2", repeated("1.", kMillion) + "1"),
            ComparisonResult::descending);
  EXPECT_EQ(Compare::compare("1" + repeated(".0", kMillion), "1"), ComparisonResult::same);
  EXPECT_EQ(Compare::compare(std::string(kMillion, '9'), "2147483647"), ComparisonResult::same);
  EXPECT_EQ(Compare::compare("1" + repeated(" b", kMillion), "1"), ComparisonResult::descending);
  EXPECT_EQ(Compare::compare("1" + std::string(kMillion, ' ') + "b1", "1b1"), ComparisonResult::same);
}

TEST(HostileFeedTest, TextThatIsNotUTF8FailsToParse) {
  for (const std::string_view bytes : {"\xFF", "\xC3", "\xC0\x80", "\xED\xA0\x80", "\xF5\x80\x80\x80"}) {
    EXPECT_EQ(errorOf(xmlFeed("<dict><key>id</key><string>" + std::string(bytes) + "</string></dict>")),
              VeskUpdateFeedParserError::feedFailedToParse());
  }
}

TEST(HostileFeedTest, ANulByteMakesAnotherTextAndNotAShorterOne) {
  using namespace std::string_view_literals;
  const VeskUpdateFeed feed = feedOf({entryOf({{"type", "update\0"sv}, {"id", "a"}, {"current", "3.0"}}),
                                      entryOf({{"type", "update"}, {"sku", "direct\0"sv}, {"id", "b"}}),
                                      entryOf({{"type", "update"}, {"important", "1\0"sv}, {"id", "c\0d"sv}})});

  const VeskUpdateFeedPipelineResult result = evaluated(feed);

  ASSERT_TRUE(result.selectedCandidate);
  EXPECT_EQ(result.selectedCandidate->display.resolvedFeedIdentifier, "c\0d"sv);
  EXPECT_EQ(errorOf(xmlFeed("<dict><key>id</key><string>a\0b</string></dict>"sv)),
            VeskUpdateFeedParserError::feedFailedToParse());
}

TEST(HostileFeedTest, OfVeryManyEqualKeysTheLastCounts) {
  const VeskUpdateFeed feed = VeskUpdateFeedParser().parseFeed(
      xmlFeed("<dict><key>type</key><string>update</string>" +
              repeated("<key>id</key><string>first</string>", kMillion) + "<key>id</key><string>last</string></dict>"));

  ASSERT_TRUE(evaluated(feed).selectedCandidate);
  EXPECT_EQ(evaluated(feed).selectedCandidate->display.resolvedFeedIdentifier, "last");
}

TEST(HostileFeedTest, ADayThatDoesNotExistIsTheDistantPast) {
  for (const std::string_view day : {"2024-02-30", "2023-02-29", "2024-13-01", "0000-01-01", "99999-01-01",
                                     "2024-02-1\xEF\xBC\x91", "2024-02-29T00:00:00Z"}) {
    EXPECT_EQ(applicability(entryOf({{"type", "update"}, {"releasedate", day}})).releaseDate, kDistantPast) << day;
  }
}

TEST(HostileFeedTest, IntervalsBeyond64BitsAreTheDefaultAsTextAndTheLimitAsNumbers) {
  EXPECT_EQ(interval(Value("9223372036854775807")), 9223372036854775807.0);
  EXPECT_EQ(interval(Value("9223372036854775808")), 7);
  EXPECT_EQ(interval(Value("-9223372036854775809")), 7);
  EXPECT_EQ(interval(Value(std::string(kMillion, '9'))), 7);
  EXPECT_EQ(interval(Value(1e300)), 9223372036854775807.0);
  EXPECT_EQ(interval(Value(-1e300)), 60);
  EXPECT_EQ(interval(Value(std::numeric_limits<double>::quiet_NaN())), 7);
}

TEST(HostileFeedTest, ANumberThatFitsNoTypeIsNoReasonToFailLater) {
  const auto error = errorOf(xmlFeed("<dict><key>interval</key><integer>99999999999999999999999</integer></dict>"));

  EXPECT_EQ(error, VeskUpdateFeedParserError::feedFailedToParse());
}

TEST(HostileFeedTest, AFeedThatEndsAnywhereFailsToParseOrIsNoFeed) {
  const QuillonPropertyListValue value(Value::Array{Value(entryOf({{"type", "update"}, {"id", "a\u00E9"}}))});
  for (const std::string& whole : {writeXMLPropertyList(value), writeBinaryPropertyList(value)}) {
    for (std::size_t length = 0; length + 2 < whole.size(); ++length) {
      EXPECT_TRUE(errorOf(whole.substr(0, length))) << length;
    }
  }
}

}  // namespace
}  // namespace quillon
