#include <gtest/gtest.h>

#include <string>

#include "QuillonTool/FeedSimulation/SVGText.h"

namespace quillon {
namespace {

using namespace std::string_literals;

TEST(SVGTextTest, MarkupIsEscaped) {
  EXPECT_EQ(svgText("</text><script>alert(\"1\")</script>&amp;"),
            "&lt;/text&gt;&lt;script&gt;alert(&quot;1&quot;)&lt;/script&gt;&amp;amp;");
  EXPECT_EQ(svgText("]]>"), "]]&gt;");
}

TEST(SVGTextTest, LineBreaksAreBlanks) {
  EXPECT_EQ(svgText("a\tb\nc\r"), "a b c ");
}

TEST(SVGTextTest, WhatXMLHasNoPlaceForIsReplaced) {
  EXPECT_EQ(svgText("\0\x1B[2J\x7F"s), "\uFFFD\uFFFD[2J\uFFFD");
  EXPECT_EQ(svgText("\xFF"), "\uFFFD");
  EXPECT_EQ(svgText("\uFFFF\uFFFE"), "\uFFFD\uFFFD");
}

TEST(SVGTextTest, MarksThatTurnTheDirectionAreReplaced) {
  EXPECT_EQ(svgText("\u202E3.0\u2066"), "\uFFFD3.0\uFFFD");
}

TEST(SVGTextTest, OtherTextStays) {
  EXPECT_EQ(svgText("Grüße 🎉 3.0"), "Grüße 🎉 3.0");
}

}  // namespace
}  // namespace quillon
