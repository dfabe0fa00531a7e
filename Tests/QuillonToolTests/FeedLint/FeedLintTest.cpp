#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "QuillonTool/FeedLint/FeedLint.h"
#include "QuillonUpdatesCoreTests/FeedMaking.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<std::string> places(const FeedLintReport& report) {
  std::vector<std::string> places;
  for (const FeedFinding& finding : report.findings) {
    places.push_back((finding.index ? std::to_string(*finding.index) : "feed") + " " + finding.key);
  }
  return places;
}

const FeedDictionary kGoodEntry = entryOf({{"type", "update"},
                                           {"id", "3.0"},
                                           {"version", "2.0-2.9"},
                                           {"os", "13.0"},
                                           {"current", "3.0"},
                                           {"currentbuild", "1200"},
                                           {"releasedate", "2024-06-10"},
                                           {"app-installer", "https://example.com/Sample-3.0.zip"}});

TEST(FeedLintTest, AGoodFeedHasNoFindings) {
  const FeedLintReport report = lintFeed(feedOf({kGoodEntry}));

  EXPECT_EQ(report.entryCount, 1U);
  EXPECT_THAT(report.findings, IsEmpty());
}

TEST(FeedLintTest, FindingsStandInTheOrderOfTheEntries) {
  FeedDictionary second = kGoodEntry;
  second.insert_or_assign("important", QuillonPropertyListValue(true));
  second.emplace("relasedate", QuillonPropertyListValue("2024-06-10"));

  const FeedLintReport report = lintFeed(feedOf({kGoodEntry, second, entryOf({{"id", "1"}})}));

  EXPECT_THAT(places(report), ElementsAre("1 relasedate", "1 important", "1 ", "2 type"));
  EXPECT_EQ(report.count(FeedFindingSeverity::error), 2U);
  EXPECT_EQ(report.count(FeedFindingSeverity::warning), 2U);
}

TEST(FeedLintTest, EntriesOfAnotherTypeAreNotLookedInto) {
  EXPECT_THAT(lintFeed(feedOf({entryOf({{"type", "news"}, {"headline", ""}, {"version", "4.0-"}})})).findings,
              IsEmpty());
}

TEST(FeedLintTest, BytesThatAreNoFeedAreOneErrorOfTheWhole) {
  for (const char* bytes : {"<plist>", "<plist><array/></plist>", "<plist><array><true/></array></plist>"}) {
    const FeedLintReport report = lintFeedBytes(bytes);
    EXPECT_THAT(places(report), ElementsAre("feed ")) << bytes;
    EXPECT_EQ(report.count(FeedFindingSeverity::error), 1U);
  }
}

TEST(FeedLintTest, HostileValuesAreFoundAndNothingFails) {
  using Value = QuillonPropertyListValue;
  Value nested{Value::Array()};
  for (int depth = 0; depth < 400; ++depth) nested = Value(Value::Array{nested});
  FeedDictionary entry = entryOf({{"type", "update"},
                                  {"id", std::string_view("\0\x1b[2J", 5)},
                                  {"os", "1-2-3-4-\xE2\x80\xAE"},
                                  {"interval", "99999999999999999999"},
                                  {"releasedate", "2024-02-30"}});
  entry.emplace("version", Value(std::string(1'000'000, '1') + "-"));
  entry.emplace("sku", nested);
  entry.emplace(std::string(1'000'000, 'k'), nested);

  const FeedLintReport report = lintFeed(feedOf({entry, entry}));

  EXPECT_GE(report.findings.size(), 12U);
  for (const FeedFinding& finding : report.findings) EXPECT_LT(finding.problem.size(), 300U);
}

TEST(FeedLintTest, ManyEntriesOfOneKindThatDoNotOverlapHaveNoFindings) {
  QuillonPropertyListValue::Array entries;
  for (int i = 0; i < 2'000; ++i) {
    FeedDictionary entry = kGoodEntry;
    entry.insert_or_assign("version", QuillonPropertyListValue(std::to_string(i) + ".0-" + std::to_string(i) + ".9"));
    entry.insert_or_assign("current", QuillonPropertyListValue("30000.0"));
    entries.emplace_back(entry);
  }
  const QuillonPropertyListValue list(std::move(entries));

  EXPECT_THAT(lintFeedBytes(writeBinaryPropertyList(list)).findings, IsEmpty());
}

}  // namespace
}  // namespace quillon
