#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "QuillonTool/QuillonToolUsageError.h"
#include "QuillonTool/Update/UpdateOptions.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;

UpdateOptions read(const std::vector<std::string>& words) {
  return readUpdateOptions(QuillonToolArguments::parse(words, updateOptions()));
}

TEST(UpdateOptionsTest, TheBundleAloneIsARunByHand) {
  const UpdateOptions options = read({"/Applications/Example.app"});

  EXPECT_EQ(options.bundle.path(), "/Applications/Example.app");
  EXPECT_FALSE(options.feed || options.betaPreference || options.quitLimit || options.logFile);
  EXPECT_FALSE(options.onlyChecks || options.isScheduled || options.answersYes || options.isJSON);
}

TEST(UpdateOptionsTest, EveryOptionIsRead) {
  const UpdateOptions options =
      read({"/A.app", "--feed", "https://example.org/feed.plist", "--check", "--scheduled", "--yes", "--beta", "--sku",
            "direct", "--sku=beta", "--wait", "30", "--json", "--log", "/tmp/update.log"});

  EXPECT_EQ(options.feed->absoluteString(), "https://example.org/feed.plist");
  EXPECT_TRUE(options.onlyChecks && options.isScheduled && options.answersYes && options.isJSON);
  EXPECT_EQ(options.betaPreference, true);
  EXPECT_THAT(options.skus, ElementsAre("direct", "beta"));
  EXPECT_EQ(options.quitLimit, std::chrono::seconds(30));
  EXPECT_EQ(options.logFile->path(), "/tmp/update.log");
  EXPECT_EQ(read({"/A.app", "--no-beta"}).betaPreference, false);
}

TEST(UpdateOptionsTest, WhatCannotBeMeantIsAUsageError) {
  for (const std::vector<std::string>& words : std::vector<std::vector<std::string>>{{},
                                                                                     {""},
                                                                                     {"/A.app", "/B.app"},
                                                                                     {"/A.app", "--feed", "feed.plist"},
                                                                                     {"/A.app", "--beta", "--no-beta"},
                                                                                     {"/A.app", "--wait", "-1"},
                                                                                     {"/A.app", "--wait", "soon"},
                                                                                     {"/A.app", "--wait", "1000001"},
                                                                                     {"/A.app", "--log", ""}}) {
    EXPECT_THROW((void)read(words), QuillonToolUsageError) << ::testing::PrintToString(words);
  }
}

}  // namespace
}  // namespace quillon
