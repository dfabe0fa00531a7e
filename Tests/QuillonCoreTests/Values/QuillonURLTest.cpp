#include <gtest/gtest.h>

#include <filesystem>

#include "QuillonCore/Values/QuillonError.h"
#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {
namespace {

TEST(QuillonURLTest, FilePathIsTakenAsItStands) {
  EXPECT_EQ(QuillonURL::fileURL("/Apps/A%20B.app").path(), "/Apps/A%20B.app");
  EXPECT_EQ(QuillonURL::fileURL("/Apps/A%20B.app").absoluteString(), "file:///Apps/A%2520B.app");
}

TEST(QuillonURLTest, RelativePathIsTakenFromTheCurrentFolder) {
  EXPECT_EQ(QuillonURL::fileURL("a/b").path(), (std::filesystem::current_path() / "a/b").string());
}

TEST(QuillonURLTest, EmptyAndDotComponentsAndTrailingSlashesAreDroppedButNotDoubleDots) {
  EXPECT_EQ(QuillonURL::fileURL("//a/./b//../c/").path(), "/a/b/../c");
  EXPECT_EQ(QuillonURL::fileURL("/").path(), "/");
}

TEST(QuillonURLTest, ExtensionIsTheTextAfterTheLastPeriodOfTheName) {
  EXPECT_EQ(QuillonURL::fileURL("/a.b/Example.app").pathExtension(), "app");
  EXPECT_EQ(QuillonURL::fileURL("/a.b/Example").pathExtension(), "");
  EXPECT_EQ(QuillonURL::fileURL("/a/.app").pathExtension(), "");
  EXPECT_EQ(QuillonURL::fileURL("/a/x.").pathExtension(), "");
  EXPECT_EQ(QuillonURL::fileURL("/a/x.tar.gz").nameWithoutExtension(), "x.tar");
  EXPECT_EQ(QuillonURL::fileURL("/a/.app").nameWithoutExtension(), ".app");
}

TEST(QuillonURLTest, ComponentsAreAppendedAndDeleted) {
  const QuillonURL url = QuillonURL::fileURL("/a");
  EXPECT_EQ(url.appendingPathComponent("b/c").path(), "/a/b/c");
  EXPECT_EQ(url.appendingPathComponent("b").deletingLastPathComponent(), url);
  EXPECT_EQ(QuillonURL::fileURL("/").deletingLastPathComponent().path(), "/");
  EXPECT_THROW((void)QuillonURL::parse("https://h/x")->appendingPathComponent("y"), QuillonError);
  EXPECT_THROW((void)QuillonURL::parse("https://h/x")->deletingLastPathComponent(), QuillonError);
}

TEST(QuillonURLTest, WebURLKeepsItsTextAndDecodesItsPath) {
  const auto url = QuillonURL::parse("HTTPS://example.org:8080/a%20b/App.zip?x=1#y");

  ASSERT_TRUE(url.has_value());
  EXPECT_EQ(url->scheme(), "https");
  EXPECT_EQ(url->path(), "/a b/App.zip");
  EXPECT_EQ(url->lastPathComponent(), "App.zip");
  EXPECT_EQ(url->absoluteString(), "HTTPS://example.org:8080/a%20b/App.zip?x=1#y");
  EXPECT_FALSE(url->isFileURL());
}

TEST(QuillonURLTest, FileURLTextBecomesAFileURL) {
  EXPECT_EQ(QuillonURL::parse("file:///a%20b")->path(), "/a b");
  EXPECT_EQ(QuillonURL::parse("file://localhost/a"), QuillonURL::fileURL("/a"));
  EXPECT_FALSE(QuillonURL::parse("file://elsewhere/a").has_value());
}

TEST(QuillonURLTest, WhatIsNoURLIsAbsent) {
  for (const char* text : {"", "no scheme", "://x", "1http://x", "https://", "https://h/a b", "https://h/%zz",
                           "https://h/%0", "https://h/%00", "https://h/<>", "https://h/\n"}) {
    EXPECT_FALSE(QuillonURL::parse(text).has_value()) << text;
  }
}

}  // namespace
}  // namespace quillon
