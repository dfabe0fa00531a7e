#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

#include "QuillonTool/QuillonToolJSONObject.h"

namespace quillon {
namespace {

std::string literal(std::string_view value) {
  const std::string text = QuillonToolJSONObject().with("k", value).text();
  return text.substr(5, text.size() - 6);  // between {"k": and }
}

TEST(QuillonToolJSONObjectTest, KeepsTheOrderOfItsMembers) {
  EXPECT_EQ(QuillonToolJSONObject().text(), "{}");
  EXPECT_EQ(QuillonToolJSONObject().with("b", "1").with("a", std::nullopt).text(), R"({"b":"1","a":null})");
}

TEST(QuillonToolJSONObjectTest, WritesNumbersInFullAndBooleans) {
  EXPECT_EQ(QuillonToolJSONObject()
                .withNumber("n", std::numeric_limits<std::int64_t>::min())
                .withNumber("u", std::numeric_limits<std::uint64_t>::max())
                .withBool("t", true)
                .withBool("f", false)
                .text(),
            R"({"n":-9223372036854775808,"u":18446744073709551615,"t":true,"f":false})");
}

TEST(QuillonToolJSONObjectTest, ObjectsMayStandInObjects) {
  EXPECT_EQ(QuillonToolJSONObject()
                .withObject("a", QuillonToolJSONObject().with("b", "\""))
                .withObject("c", QuillonToolJSONObject())
                .text(),
            R"({"a":{"b":"\""},"c":{}})");
}

TEST(QuillonToolJSONObjectTest, ObjectsStandInArrays) {
  EXPECT_EQ(QuillonToolJSONObject()
                .withObjects("a", {QuillonToolJSONObject().withBool("b", true), QuillonToolJSONObject()})
                .withObjects("c", {})
                .text(),
            R"({"a":[{"b":true},{}],"c":[]})");
}

TEST(QuillonToolJSONObjectTest, TextsStandInArrays) {
  EXPECT_EQ(QuillonToolJSONObject().withTexts("a", {"x", "\""}).withTexts("b", {}).text(),
            R"({"a":["x","\""],"b":[]})");
}

TEST(QuillonToolJSONObjectTest, EscapesQuotesBackslashesAndControls) {
  EXPECT_EQ(literal(R"(a"b\c/)"), R"("a\"b\\c/")");
  EXPECT_EQ(literal(std::string_view("\0\n\x1f\x7f", 4)), R"("\u0000\u000a\u001f\u007f")");
  EXPECT_EQ(literal("\xC2\x80\xC2\x9F\xC2\xA0"), "\"\\u0080\\u009f\xC2\xA0\"");
}

TEST(QuillonToolJSONObjectTest, KeepsWellFormedText) {
  EXPECT_EQ(literal("äß€😀"), "\"äß€😀\"");
}

TEST(QuillonToolJSONObjectTest, ReplacesBytesThatAreNoText) {
  EXPECT_EQ(literal("a\xFF"
                    "b"),
            "\"a\xEF\xBF\xBD"
            "b\"");
  EXPECT_EQ(literal("\xE2\x82"), "\"\xEF\xBF\xBD\xEF\xBF\xBD\"");
  EXPECT_EQ(literal("\xED\xA0\x80"), "\"\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\"");  // a surrogate
}

TEST(QuillonToolJSONObjectTest, KeysAreEscapedLikeValues) {
  EXPECT_EQ(QuillonToolJSONObject().with("\"", "").text(), R"({"\"":""})");
}

}  // namespace
}  // namespace quillon
