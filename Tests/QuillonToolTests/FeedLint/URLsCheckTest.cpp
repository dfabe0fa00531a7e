#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuillonTool/FeedLint/FeedEntryChecks.h"
#include "QuillonToolTests/FeedLint/FeedChecking.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(URLsCheckTest, HttpsIsFine) {
  EXPECT_THAT(findingsOf(checkURLs, {{"app-installer", "https://example.com/a.zip"}}), IsEmpty());
  EXPECT_THAT(findingsOf(checkURLs, {{"url", "HTTPS://example.com"}}), IsEmpty());
}

TEST(URLsCheckTest, OtherSchemesAreErrors) {
  EXPECT_THAT(findingsOf(checkURLs, {{"app-installer", "http://example.com/a.zip"}, {"url", "file:///a"}}),
              ElementsAre("error url: The URL \"file:///a\" is not https.",
                          "error app-installer: The URL \"http://example.com/a.zip\" is not https."));
}

TEST(URLsCheckTest, WhatIsNoURLIsAnError) {
  EXPECT_THAT(findingsOf(checkURLs, {{"installer", "example.com/a b.zip"}}),
              ElementsAre("error installer: \"example.com/a b.zip\" is no URL."));
}

TEST(URLsCheckTest, AURLWithoutHostIsAnError) {
  for (const std::string_view url : {"https:", "https:/a", "https:///a", "https://"}) {
    EXPECT_THAT(findingsOf(checkURLs, {{"url", url}}),
                ElementsAre("error url: \"" + std::string(url) + "\" is no URL."));
  }
}

TEST(URLsCheckTest, NothingToReadOrInstallIsAWarning) {
  EXPECT_THAT(findingsOf(checkURLs, {{"id", "1"}}),
              ElementsAre("warning app-installer: The entry has neither \"app-installer\" nor \"installer\" nor "
                          "\"url\"."));
}

}  // namespace
}  // namespace quillon
