#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "QuillonTool/Update/HTMLText.h"

namespace quillon {
namespace {

std::string textOf(const std::string& html) {
  return textOfHTML(html, 1 << 20);
}

TEST(HTMLTextTest, APageBecomesLines) {
  EXPECT_EQ(
      textOf("<!DOCTYPE html><html><head><title>T</title><style>p{}</style></head>\n<body>\n<h1>Example  2.0</h1>\n"
             "<p>Faster\nand <b>smaller</b>.<br/>Second line</p><ul><li>One</li><li>Two &amp; three</ul>"
             "<script>alert('</p>')</script></body></html>"),
      "Example 2.0\nFaster and smaller.\nSecond line\n- One\n- Two & three");
}

TEST(HTMLTextTest, AHeadWhoseEndIsLeftOutHidesNothingOfThePage) {
  EXPECT_EQ(textOf("<head><title>T</title><meta charset=utf-8><body><p>Faster</p>"), "Faster");
}

TEST(HTMLTextTest, CharacterReferencesAreTheirCharacters) {
  const std::vector<std::pair<std::string, std::string>> table = {
      {"&lt;b&gt; &quot;x&quot; &apos;", "<b> \"x\" '"},
      {"&#65;&#x42;&#x1F600;", "AB\xF0\x9F\x98\x80"},
      {"&eacute; &unknown; & &; &#; &#x;", "&eacute; &unknown; & &; &#; &#x;"},
      {"a&nbsp;b &ndash; c&hellip;", "a b \xE2\x80\x93 c\xE2\x80\xA6"},
      {"&#99999999;", "&#99999999;"},
      {"&#xD800;&#x110000;", ""}};

  for (const auto& [html, text] : table) EXPECT_EQ(textOf(html), text) << html;
}

TEST(HTMLTextTest, ControlCharactersDoNotComeInByReference) {
  EXPECT_EQ(textOf("a&#27;[31mb&#x9b;c&#7;"), "a[31mbc");
}

TEST(HTMLTextTest, BrokenMarkupEndsSomewhere) {
  const std::vector<std::pair<std::string, std::string>> table = {{"a < b <3", "a < b "},
                                                                  {"x<p title=\"a>b\">y", "x\ny"},
                                                                  {"x<p title=\"never ends", "x"},
                                                                  {"x<!-- never ends", "x"},
                                                                  {"x<!-- a > b -->y", "xy"},
                                                                  {"x<script>never ends", "x"},
                                                                  {"<", "<"},
                                                                  {"</", "</"},
                                                                  {"", ""}};

  for (const auto& [html, text] : table) EXPECT_EQ(textOf(html), text) << html;
}

TEST(HTMLTextTest, MoreThanTheLimitIsNotLookedAt) {
  EXPECT_EQ(textOfHTML("abcdef", 3), "abc");
}

}  // namespace
}  // namespace quillon
