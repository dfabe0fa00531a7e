#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "QuillonTool/QuillonToolFeedExplain.h"
#include "QuillonToolTests/ToolRun.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using testing::ToolResult;

class QuillonToolFeedExplainTest : public ::testing::Test {
 protected:
  QuillonToolFeedExplainTest() {
    testing::writeFile(file_,
                       "<plist><array>"
                       "<dict><key>type</key><string>update</string><key>id</key><string>4</string>"
                       "<key>os</key><string>15</string><key>current</key><string>4.0</string></dict>"
                       "<dict><key>type</key><string>update</string><key>id</key><string>3&#x9;</string>"
                       "<key>sku</key><string>mas</string><key>current</key><string>3.0</string></dict>"
                       "</array></plist>");
  }
  ToolResult explain(const std::vector<std::string>& more = {}) {
    std::vector<std::string> words = {"feed", "explain", file_.string(), "--app-version", "2.0", "--app-build", "1",
                                      "--os", "14"};
    words.insert(words.end(), more.begin(), more.end());
    return run_(words);
  }

  const testing::TemporaryDirectory folder_;
  const std::filesystem::path file_ = folder_ / "feed.plist";
  const testing::ToolRun run_;
};

TEST_F(QuillonToolFeedExplainTest, SaysOfEachEntryWhyItIsNotOffered) {
  const ToolResult result = explain();

  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, StartsWith("Entry 1 \"4\": not offered, os: \"14\" is not within \"15\"\n"
                                        "  type passed: the entry is an update {\"type\":\"update\"}\n"));
  EXPECT_THAT(result.output, HasSubstr("Entry 2 \"3\\x09\": not offered, sku: \"mas\" is not accepted\n"));
  EXPECT_THAT(result.output, EndsWith("Offered: none\n"));
}

TEST_F(QuillonToolFeedExplainTest, NamesTheEntryThatIsOffered) {
  const ToolResult result = explain({"--sku", "setapp", "--sku", "mas"});

  EXPECT_THAT(result.output, HasSubstr("Entry 2 \"3\\x09\": can be offered\n"));
  EXPECT_THAT(result.output, EndsWith("Offered: entry 2\n"));
}

TEST_F(QuillonToolFeedExplainTest, AnswersInJSON) {
  EXPECT_THAT(explain({"--json"}).output,
              StartsWith(R"({"entries":[{"index":0,"applicability":{"shouldProcessFeed":)"));
  EXPECT_THAT(explain({"--json"}).output, EndsWith("],\"offered\":null}\n"));
  EXPECT_THAT(explain({"--json", "--sku", "mas"}).output, EndsWith("],\"offered\":1}\n"));
}

TEST_F(QuillonToolFeedExplainTest, WhatIsNoFeedIsAFailure) {
  testing::writeFile(file_, "<plist>");
  EXPECT_EQ(explain(), (ToolResult{.status = 1,
                                   .output = {},
                                   .error = "quillon feed explain: " + file_.string() + ": Feed failed to parse\n"}));
  testing::writeFile(file_, "<plist><array/></plist>");
  EXPECT_THAT(explain().error, EndsWith(": Feed not found\n"));
}

TEST_F(QuillonToolFeedExplainTest, AWrongCommandLineIsAUsageError) {
  EXPECT_EQ(explain({"--stagger-group", "x"}).status, 2);
  EXPECT_EQ(run_({"feed", "explain", file_.string()}).status, 2);
}

}  // namespace
}  // namespace quillon
