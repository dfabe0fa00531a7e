#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"
#include "QuillonTool/FeedAdd/FeedDocument.h"
#include "QuillonTool/QuillonToolFeedAdd.h"
#include "QuillonToolTests/ToolRun.h"
#include "QuillonUpdatesCoreTests/FeedMaking.h"
#include "Support/ApplicationBundleBuilder.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using testing::ToolResult;

/// Version 3.0, build 300, for system 14.2, and its archive.
class QuillonToolFeedAddTest : public ::testing::Test {
 protected:
  QuillonToolFeedAddTest() {
    makeBundle("3.0", "300");
    testing::writeFile(folder_ / "Sample 3.0.zip", "PK");
  }

  void makeBundle(const std::string& version, const std::string& build) {
    std::filesystem::remove_all(bundle_);
    testing::makeApplicationBundle(bundle_, {.version = version, .build = build, .minimumSystemVersion = "14.2"});
  }
  ToolResult add(const std::vector<std::string>& more = {}) {
    return call({"--archive-url", "https://e.com/a.zip"}, more);
  }
  ToolResult call(const std::vector<std::string>& options, const std::vector<std::string>& more = {}) {
    std::vector<std::string> words = {"feed", "add", feed_.string(), bundle_.string()};
    words.insert(words.end(), options.begin(), options.end());
    words.insert(words.end(), more.begin(), more.end());
    return run_(words);
  }
  void writeFeed(const FeedDictionary& entry) {
    testing::writeFile(feed_, writeXMLPropertyList(QuillonPropertyListValue(
                                  QuillonPropertyListValue::Array{QuillonPropertyListValue(entry)})));
  }
  [[nodiscard]] std::vector<FeedDictionary> entries() const { return FeedDocument(testing::readFile(feed_)).entries(); }
  [[nodiscard]] std::string text(std::size_t index, std::string_view key) const {
    return stringOrEmpty(entries().at(index), key);
  }

  const testing::TemporaryDirectory folder_;
  const std::filesystem::path feed_ = folder_ / "feed.plist";
  const std::filesystem::path bundle_ = folder_ / "Sample.app";
  const testing::ToolRun run_;
};

TEST_F(QuillonToolFeedAddTest, AFeedThatDoesNotExistIsCreated) {
  const ToolResult result = call({"--archive", (folder_ / "Sample 3.0.zip").string(), "--url-prefix", "https://e.com"});

  EXPECT_EQ(result.status, 0) << result.error;
  EXPECT_THAT(result.output, HasSubstr("Entry 1 \"3.0\": added\n"));
  EXPECT_THAT(result.output, HasSubstr("  current: none -> \"3.0\"\n"));
  EXPECT_THAT(result.output, HasSubstr("  archive: 2 bytes\n"));
  ASSERT_EQ(entries().size(), 1U);
  EXPECT_EQ(text(0, "type"), "update");
  EXPECT_EQ(text(0, "id"), "3.0");
  EXPECT_EQ(text(0, "current"), "3.0");
  EXPECT_EQ(text(0, "currentbuild"), "300");
  EXPECT_EQ(text(0, "os"), "14.2");
  EXPECT_EQ(text(0, "app-installer"), "https://e.com/Sample%203.0.zip");
  EXPECT_THAT(text(0, "releasedate"), MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2}"));
  EXPECT_EQ(run_({"feed", "lint", "--strict", feed_.string()}).status, 0);
}

TEST_F(QuillonToolFeedAddTest, TheSameReleaseAgainChangesNothing) {
  ASSERT_EQ(add({"--release-date", "2024-06-10"}).status, 0);
  const std::string before = testing::readFile(feed_);

  const ToolResult result = add();

  EXPECT_THAT(result.output, HasSubstr("Entry 1 \"3.0\": is up to date\n"));
  EXPECT_EQ(testing::readFile(feed_), before);
}

TEST_F(QuillonToolFeedAddTest, AnotherBuildChangesTheEntryAndKeepsItsOtherKeys) {
  FeedDictionary entry = entryOf({{"type", "update"},
                                  {"id", "3.0"},
                                  {"current", "3.0"},
                                  {"currentbuild", "299"},
                                  {"os", "13.0-14.9"},
                                  {"releasedate", "2024-06-10"},
                                  {"app-installer", "https://e.com/a.zip"}});
  entry.emplace("own", QuillonPropertyListValue(true));
  writeFeed(entry);

  const ToolResult result = add();

  EXPECT_EQ(result.status, 0) << result.error;
  EXPECT_THAT(result.output, HasSubstr("Entry 1 \"3.0\": changed\n"));
  EXPECT_THAT(result.output, HasSubstr("  currentbuild: \"299\" -> \"300\"\n"));
  EXPECT_EQ(text(0, "os"), "14.2-14.9");
  EXPECT_NE(text(0, "releasedate"), "2024-06-10");
  EXPECT_EQ(entries().at(0).at("own"), QuillonPropertyListValue(true));
}

TEST_F(QuillonToolFeedAddTest, ANewReleaseStandsBeforeOlderOnesAndTheFeedIsLinted) {
  ASSERT_EQ(add().status, 0);
  makeBundle("4.0", "400");

  const ToolResult result = add();

  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(text(0, "current"), "4.0");
  EXPECT_EQ(text(1, "current"), "3.0");
  EXPECT_THAT(result.output, HasSubstr("entry 2: warning: Entry 1, which stands before this one, applies wherever"));
}

TEST_F(QuillonToolFeedAddTest, AnEntryMovesWhenItOffersAnotherVersion) {
  ASSERT_EQ(add({"--identifier", "stable"}).status, 0);
  ASSERT_EQ(add({"--identifier", "other"}).status, 0);
  makeBundle("2.0", "200");

  EXPECT_EQ(add({"--identifier", "other"}).status, 0);

  EXPECT_EQ(text(0, "id"), "stable");
  EXPECT_EQ(text(1, "id"), "other");
}

TEST_F(QuillonToolFeedAddTest, WhatLintCallsAnErrorIsNotWritten) {
  const ToolResult result = add({"--version-range", "4.0-"});

  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.error, HasSubstr("entry 1, version: error: The range \"4.0-\" admits no version."));
  EXPECT_THAT(result.error, HasSubstr("quillon feed add: The entry has errors; nothing was written\n"));
  EXPECT_FALSE(std::filesystem::exists(feed_));
  EXPECT_EQ(call({"--archive-url", "http://e.com/a.zip"}).status, 1);
}

TEST_F(QuillonToolFeedAddTest, ErrorsOfOtherEntriesAreShownAndStay) {
  writeFeed(entryOf({{"type", "update"}, {"id", "2.0"}, {"current", "2.0"}, {"important", "yes"}}));

  const ToolResult result = add();

  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, HasSubstr("entry 2, important: error: "));
  EXPECT_EQ(text(1, "important"), "yes");
}

TEST_F(QuillonToolFeedAddTest, OptionsFillTheOtherKeys) {
  ASSERT_EQ(add({"--type",
                 "update",
                 "--identifier",
                 "june",
                 "--version-range",
                 "2.0-2.9",
                 "--minimum-os",
                 "15.0",
                 "--sku",
                 "mas",
                 "--language",
                 "de",
                 "--must-update",
                 "2.1",
                 "--important",
                 "--release-date",
                 "2024-06-10",
                 "--interval",
                 "3600",
                 "--release-notes-url",
                 "https://e.com/notes",
                 "--title",
                 "Neu",
                 "--prompt-size",
                 "{640, 480}"})
                .status,
            0);

  const FeedDictionary expected = entryOf({{"type", "update"},
                                           {"id", "june"},
                                           {"version", "2.0-2.9"},
                                           {"os", "15.0"},
                                           {"sku", "mas"},
                                           {"lang", "de"},
                                           {"current", "3.0"},
                                           {"currentbuild", "300"},
                                           {"mustupdate", "2.1"},
                                           {"important", "1"},
                                           {"releasedate", "2024-06-10"},
                                           {"interval", "3600"},
                                           {"url", "https://e.com/notes"},
                                           {"title", "Neu"},
                                           {"size", "{640, 480}"},
                                           {"app-installer", "https://e.com/a.zip"}});
  EXPECT_THAT(entries(), ElementsAre(expected));
}

TEST_F(QuillonToolFeedAddTest, ALinkToTheFeedStaysOne) {
  testing::writeFile(folder_ / "real.plist", "<plist><array/></plist>");
  std::filesystem::create_symlink("real.plist", feed_);

  EXPECT_EQ(add().status, 0);

  EXPECT_TRUE(std::filesystem::is_symlink(feed_));
  EXPECT_EQ(FeedDocument(testing::readFile(folder_ / "real.plist")).entries().size(), 1U);
}

TEST_F(QuillonToolFeedAddTest, WhatIsMissingIsAFailureAndLeavesTheFeed) {
  EXPECT_THAT(call({"--archive", (folder_ / "none.zip").string(), "--url-prefix", "https://e.com"}).error,
              HasSubstr("There is no archive at "));
  testing::writeFile(folder_ / "empty.zip", "");
  EXPECT_THAT(call({"--archive", (folder_ / "empty.zip").string(), "--url-prefix", "https://e.com"}).error,
              HasSubstr("is no file, or an empty one"));
  testing::writeFile(feed_, "none");
  EXPECT_THAT(add().error, HasSubstr("feed.plist is no feed: "));
  std::filesystem::remove_all(bundle_);
  std::filesystem::remove(feed_);
  EXPECT_EQ(add().status, 1);
  EXPECT_FALSE(std::filesystem::exists(feed_));
}

TEST_F(QuillonToolFeedAddTest, OneAddressMustBeGiven) {
  EXPECT_EQ(call({}).status, 2);
  EXPECT_EQ(call({"--url-prefix", "https://e.com"}).status, 2);
  EXPECT_EQ(add({"--url-prefix", "https://e.com"}).status, 2);
}

TEST_F(QuillonToolFeedAddTest, EmptyPathsAreWrong) {
  const auto run = [&](const std::string& feed, const std::string& bundle, const std::string& archive) {
    return run_({"feed", "add", feed, bundle, "--archive=" + archive, "--archive-url", "https://e.com/a.zip"});
  };
  const std::string archive = (folder_ / "Sample 3.0.zip").string();

  EXPECT_EQ(run("", bundle_.string(), archive).status, 2);
  EXPECT_EQ(run(feed_.string(), "", archive).status, 2);
  EXPECT_EQ(run(feed_.string(), bundle_.string(), "").status, 2);
  EXPECT_EQ(run(feed_.string(), bundle_.string(), archive).status, 0);
}

}  // namespace
}  // namespace quillon
