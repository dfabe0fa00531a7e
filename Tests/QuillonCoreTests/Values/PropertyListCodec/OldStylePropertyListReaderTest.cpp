#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "QuillonCore/Values/PropertyListCodec/OldStylePropertyListReader.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"

namespace quillon {
namespace {

using ::testing::HasSubstr;
using Value = QuillonPropertyListValue;

TEST(OldStylePropertyListReaderTest, EveryTypeIsRead) {
  const Value list = readPropertyList(R"(// A list.
    {
      plain = com.example.app-1_$/: ;
      "quoted key" = "a \"b\"";
      single = 'it is "so"';
      data = <0fbd 77>;  /* three bytes */
      list = ( a, (), { }, "d", );
    })");

  EXPECT_EQ(*list.find("plain"), Value("com.example.app-1_$/:"));
  EXPECT_EQ(*list.find("quoted key"), Value("a \"b\""));
  EXPECT_EQ(*list.find("single"), Value("it is \"so\""));
  EXPECT_EQ(*list.find("data"), Value(QuillonPropertyListData{{0x0F, 0xBD, 0x77}}));
  EXPECT_EQ(*list.find("list"),
            Value(Value::Array{Value("a"), Value(Value::Array{}), Value(Value::Dictionary{}), Value("d")}));
}

TEST(OldStylePropertyListReaderTest, EscapesBecomeCharacters) {
  EXPECT_EQ(readPropertyList(R"("\a\b\f\n\r\t\v\\\'\q")"), Value("\a\b\f\n\r\t\v\\'q"));
  EXPECT_EQ(readPropertyList(R"("\101\12x")"), Value("A\nx"));
  EXPECT_EQ(readPropertyList(R"("\U00fc\UD83D\UDE00")"), Value("\xC3\xBC\xF0\x9F\x98\x80"));
  EXPECT_EQ(readPropertyList("\"a\\\nb\""), Value("a\nb"));
}

TEST(OldStylePropertyListReaderTest, AStringsTableIsADictionary) {
  const Value table =
      readPropertyList("/* Title */\n\"title\" = \"Update\";\nOK;\nlist = (a);\n\"title\" = \"Last\";\n");

  EXPECT_EQ(table, Value(Value::Dictionary{
                       {"title", Value("Last")}, {"OK", Value("OK")}, {"list", Value(Value::Array{Value("a")})}}));
}

TEST(OldStylePropertyListReaderTest, ATableInUTF16IsRead) {
  std::string bytes = "\xFF\xFE";
  for (const char c : std::string_view("a = b;")) bytes.append({c, '\0'});

  EXPECT_EQ(readPropertyList(bytes), Value(Value::Dictionary{{"a", Value("b")}}));
}

TEST(OldStylePropertyListReaderTest, CommentsAloneAreAnEmptyTable) {
  EXPECT_EQ(readPropertyList("// nothing"), Value(Value::Dictionary{}));
  EXPECT_EQ(readPropertyList("/* nothing */ \n"), Value(Value::Dictionary{}));
}

TEST(OldStylePropertyListReaderTest, OneStringIsAList) {
  EXPECT_EQ(readPropertyList(" word \n"), Value("word"));
}

struct Refused {
  const char* name;
  std::string content;
  const char* problem;
};

void PrintTo(const Refused& refused, std::ostream* stream) {
  *stream << refused.name;
}

class RefusedOldStylePropertyListTest : public ::testing::TestWithParam<Refused> {};

TEST_P(RefusedOldStylePropertyListTest, SaysWhatIsWrong) {
  try {
    static_cast<void>(readPropertyList(GetParam().content));
    FAIL() << "was read";
  } catch (const QuillonPropertyListError& error) {
    EXPECT_THAT(error.what(), HasSubstr(GetParam().problem));
  }
}

std::string repeated(std::string_view text, std::size_t count) {
  std::string result;
  for (std::size_t i = 0; i < count; ++i) result.append(text);
  return result;
}

INSTANTIATE_TEST_SUITE_P(
    All, RefusedOldStylePropertyListTest,
    ::testing::Values(
        Refused{"Nothing", "", "there are no bytes"},
        Refused{"OnlyAByteOrderMark", "\xEF\xBB\xBF", "the text is empty"},
        Refused{"JSON", "{\"a\": 1}", "'=' is expected"}, Refused{"Sentence", "404 Not Found", "'=' is expected"},
        Refused{"TextAfterTheEnd", "{} more", "after the end"}, Refused{"KeyWithoutValue", "{ a; }", "'=' is expected"},
        Refused{"KeyWithNothing", "{ a = ; }", "a string is expected"},
        Refused{"DictionaryWithoutKeys", "{ = a; }", "a string is expected"},
        Refused{"MissingSemicolon", "{ a = b }", "';' is expected"},
        Refused{"MissingSemicolonInTable", "a = b", "';' is expected"},
        Refused{"MissingComma", "( a b )", "',' or ')' is expected"},
        Refused{"NothingBetweenCommas", "( a,, b )", "a string is expected"},
        Refused{"BraceClosesArray", "( a }", "',' or ')' is expected"},
        Refused{"BraceClosesTable", "a = b; }", "a string is expected"},
        Refused{"CutOffInDictionary", "{ a = b;", "ends too early"}, Refused{"CutOffInArray", "( a,", "ends too early"},
        Refused{"CutOffAfterEquals", "{ a =", "ends too early"},
        Refused{"CutOffInString", "\"abc", "a quoted string has no end"},
        Refused{"CutOffInEscapedString", "\"a\\nbc", "a quoted string has no end"},
        Refused{"CutOffInEscape", "\"a\\", "an escape has no end"}, Refused{"CutOffInData", "<0f", "data has no end"},
        Refused{"CutOffInInnerData", "(<0f", "data has no end"},
        Refused{"CutOffInComment", "/* a", "a comment has no end"}, Refused{"HalfAByte", "<0fb>", "half a byte"},
        Refused{"DataWithOtherCharacters", "(<0g>)", "hexadecimal"},
        Refused{"UnpairedEscape", R"("\UD83Dx")", "no character"},
        Refused{"WronglyPairedEscape", R"("\UD83D\U0041")", "half a character"},
        Refused{"EscapeWithoutDigits", R"("\Ux")", "no digits"},
        Refused{"OctalBeyondASCII", R"("\200")", "octal escape"}, Refused{"OctalNUL", R"("\0")", "octal escape"},
        Refused{"UnicodeNUL", R"("\U0000")", "no character"}, Refused{"BadUTF8", "\"\xFF\"", "not UTF-8"},
        Refused{"LineIsNamed", "{\n\n a b\n}", "at line 3"},
        Refused{"DeepArrays", repeated("(", 100000), "more than 512 deep"},
        Refused{"DeepDictionaries", repeated("{a=", 100000), "more than 512 deep"}),
    [](const auto& tested) { return std::string(tested.param.name); });

}  // namespace
}  // namespace quillon
