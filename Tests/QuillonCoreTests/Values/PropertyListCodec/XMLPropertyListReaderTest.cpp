#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "QuillonCore/Values/PropertyListCodec/XMLPropertyListReader.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"

namespace quillon {
namespace {

using ::testing::HasSubstr;
using Value = QuillonPropertyListValue;

std::string plist(std::string_view content) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
         "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
         "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n<plist version=\"1.0\">" +
         std::string(content) + "</plist>\n";
}

Value read(std::string_view content) {
  return readPropertyList(plist(content));
}

std::string repeated(std::string_view text, std::size_t count) {
  std::string result;
  for (std::size_t i = 0; i < count; ++i) result.append(text);
  return result;
}

TEST(XMLPropertyListReaderTest, EveryTypeIsRead) {
  const Value list = read(R"(
    <dict>
      <key>yes</key><true/> <key>no</key><false></false>
      <key>count</key><integer> -42 </integer> <key>mask</key><integer>0xFf</integer>
      <key>size</key><real>2.5e1</real>
      <key>name</key><string>Quillon</string>
      <key>date</key><date>2024-02-29T23:59:59Z</date>
      <key>bytes</key><data> AQ
        ID/w== </data>
      <key>list</key><array><string>a</string><array/><dict/></array>
    </dict>)");

  EXPECT_EQ(*list.find("yes"), Value(true));
  EXPECT_EQ(*list.find("no"), Value(false));
  EXPECT_EQ(*list.find("count"), Value(-42));
  EXPECT_EQ(*list.find("mask"), Value(255));
  EXPECT_EQ(*list.find("size"), Value(25.0));
  EXPECT_EQ(*list.find("name"), Value("Quillon"));
  EXPECT_EQ(*list.find("date"), Value(QuillonPropertyListDate(std::chrono::seconds(1709251199))));
  EXPECT_EQ(*list.find("bytes"), Value(QuillonPropertyListData{{1, 2, 3, 255}}));
  EXPECT_EQ(*list.find("list"), Value(Value::Array{Value("a"), Value(Value::Array{}), Value(Value::Dictionary{})}));
}

TEST(XMLPropertyListReaderTest, RealsHaveInfinitiesAndNaN) {
  EXPECT_EQ(read("<real>-infinity</real>"), Value(-INFINITY));
  EXPECT_EQ(read("<real>+inf</real>"), Value(INFINITY));
  EXPECT_TRUE(std::isnan(*read("<real>nan</real>").getIf<double>()));
}

TEST(XMLPropertyListReaderTest, ReferencesAndSectionsBecomeText) {
  EXPECT_EQ(read("<string>&lt;a&gt; &amp;&quot;&apos;&#65;&#x1F600;</string>"), Value("<a> &\"'A\xF0\x9F\x98\x80"));
  EXPECT_EQ(read("<string>a<![CDATA[<b>&amp;]]>c</string>"), Value("a<b>&amp;c"));
  EXPECT_EQ(read("<string>a<!-- remark -->b<?target data?>c</string>"), Value("abc"));
  EXPECT_EQ(read("<dict><key>a&amp;b</key><true/></dict>"), Value(Value::Dictionary{{"a&b", Value(true)}}));
}

TEST(XMLPropertyListReaderTest, TextStaysAsItIs) {
  EXPECT_EQ(read("<string> a\r\n\tb </string>"), Value(" a\r\n\tb "));
  EXPECT_EQ(read("<string>\x14&#20;</string>"), Value("\x14\x14"));
  EXPECT_EQ(read("<string>M\xC3\xBCnchen</string>"), Value("M\xC3\xBCnchen"));
  EXPECT_EQ(read("<string/>"), Value(""));
  EXPECT_EQ(read("<string></string>"), Value(""));
}

TEST(XMLPropertyListReaderTest, RemarksAndSpaceStandAnywhereBetweenValues) {
  EXPECT_EQ(
      readPropertyList(" \n<!-- a --><?b?><plist><!-- c --><array ><!-- d --><true /></array\n></plist><!-- e -->\n"),
      Value(Value::Array{Value(true)}));
}

TEST(XMLPropertyListReaderTest, TheFrameMayBeMissing) {
  EXPECT_EQ(readPropertyList("<array><integer>1</integer></array>"), Value(Value::Array{Value(1)}));
}

TEST(XMLPropertyListReaderTest, TagsMayHaveAttributes) {
  EXPECT_EQ(read("<string xml:space=\"pre>serve\">a</string>"), Value("a"));
}

TEST(XMLPropertyListReaderTest, OfEqualKeysTheLastWins) {
  EXPECT_EQ(read("<dict><key>a</key><true/><key>b</key><true/><key>a</key><false/></dict>"),
            Value(Value::Dictionary{{"a", Value(false)}, {"b", Value(true)}}));
}

TEST(XMLPropertyListReaderTest, OfEqualKeysInALongDictionaryTheLastWins) {
  std::string content = "<dict>";
  for (int round = 0; round < 2; ++round) {
    for (int i = 0; i < 40; ++i) {
      content += "<key>k" + std::to_string(i) + "</key><integer>" + std::to_string(100 * round + i) + "</integer>";
    }
  }

  const Value list = read(content + "</dict>");

  EXPECT_EQ(list.getIf<Value::Dictionary>()->size(), 40U);
  EXPECT_EQ(*list.find("k0"), Value(100));
  EXPECT_EQ(*list.find("k39"), Value(139));
}

TEST(XMLPropertyListReaderTest, ByteOrderMarksTellTheEncoding) {
  const std::string text = "<plist><string>A</string></plist>";
  std::string little = "\xFF\xFE";
  std::string big = "\xFE\xFF";
  for (const char c : text) {
    little.append({c, '\0'});
    big.append({'\0', c});
  }

  EXPECT_EQ(readPropertyList("\xEF\xBB\xBF" + text), Value("A"));
  EXPECT_EQ(readPropertyList(little), Value("A"));
  EXPECT_EQ(readPropertyList(big), Value("A"));
}

TEST(XMLPropertyListReaderTest, ADeclaredEncodingMattersOnlyBeyondASCII) {
  const std::string declaration = "<?xml version='1.0' encoding='iso-8859-1'?>";

  EXPECT_EQ(readPropertyList(declaration + "<string>a</string>"), Value("a"));
  EXPECT_THROW(static_cast<void>(readPropertyList(declaration + "<string>\xC3\xBC</string>")),
               QuillonPropertyListError);
}

TEST(XMLPropertyListReaderTest, NestingEndsAt512) {
  EXPECT_NO_THROW(static_cast<void>(read(repeated("<array>", 512) + repeated("</array>", 512))));
  EXPECT_THROW(static_cast<void>(read(repeated("<array>", 513) + repeated("</array>", 513))), QuillonPropertyListError);
}

TEST(XMLPropertyListReaderTest, ErrorsNameTheLine) {
  try {
    static_cast<void>(readPropertyList("<plist>\n<dict>\n<key>a</key>\n<integer>x</integer></dict></plist>"));
    FAIL() << "was read";
  } catch (const QuillonPropertyListError& error) {
    EXPECT_STREQ(error.what(), "Not a property list: \"x\" is not an integer at line 4");
  }
}

TEST(XMLPropertyListReaderTest, DataOfAnOldStyleListIsNoXML) {
  EXPECT_FALSE(isXMLPropertyList("<0fbd 77>"));
  EXPECT_FALSE(isXMLPropertyList("<>"));
  EXPECT_TRUE(isXMLPropertyList("<dict/>"));
  EXPECT_TRUE(isXMLPropertyList("<?xml"));
}

struct Refused {
  const char* name;
  std::string content;
  const char* problem;
};

void PrintTo(const Refused& refused, std::ostream* stream) {
  *stream << refused.name;
}

class RefusedXMLPropertyListTest : public ::testing::TestWithParam<Refused> {};

TEST_P(RefusedXMLPropertyListTest, SaysWhatIsWrong) {
  try {
    static_cast<void>(readPropertyList(GetParam().content));
    FAIL() << "was read";
  } catch (const QuillonPropertyListError& error) {
    EXPECT_THAT(error.what(), HasSubstr(GetParam().problem));
  }
}

INSTANTIATE_TEST_SUITE_P(
    All, RefusedXMLPropertyListTest,
    ::testing::Values(
        Refused{"IntegerWithLetters", plist("<integer>12abc</integer>"), "not an integer"},
        Refused{"IntegerWithoutDigits", plist("<integer></integer>"), "not an integer"},
        Refused{"IntegerWithTwoSigns", plist("<integer>--1</integer>"), "not an integer"},
        Refused{"IntegerBeyond64Bits", plist("<integer>18446744073709551616</integer>"), "does not fit"},
        Refused{"UnsignedIntegerBeyond63Bits", plist("<integer>9223372036854775808</integer>"), "does not fit"},
        Refused{"HexIntegerBeyond63Bits", plist("<integer>0xFFFFFFFFFFFFFFFF</integer>"), "does not fit"},
        Refused{"IntegerBelow64Bits", plist("<integer>-9223372036854775809</integer>"), "does not fit"},
        Refused{"RealWithText", plist("<real>1.5x</real>"), "not a number"},
        Refused{"RealBeyondDouble", plist("<real>1e999</real>"), "does not fit"},
        Refused{"DateOfNoCalendar", plist("<date>2023-02-29T00:00:00Z</date>"), "not a date of the calendar"},
        Refused{"DateWithHour24", plist("<date>2023-02-28T24:00:00Z</date>"), "not a date of the calendar"},
        Refused{"DateWithoutZone", plist("<date>2023-02-28T00:00:00</date>"), "not a date of the form"},
        Refused{"DataWithOtherCharacters", plist("<data>AQ*D</data>"), "Base64"},
        Refused{"DataWithHalfAByte", plist("<data>AQIDA</data>"), "incomplete"},
        Refused{"DataAfterPadding", plist("<data>AQ==AQ==</data>"), "Base64"},
        Refused{"BooleanWithText", plist("<true>no</true>"), "a Boolean holds text"},
        Refused{"TextAfterTheEnd", plist("<true/>") + "more", "after the end"},
        Refused{"SecondList", plist("<true/>") + "<plist/>", "after the end"},
        Refused{"TwoValues", plist("<true/><true/>"), "</plist> is expected"},
        Refused{"EmptyList", plist(""), "an end tag stands where a value belongs"},
        Refused{"SelfClosedList", "<plist/>", "the list is empty"},
        Refused{"DictionaryWithoutKeys", plist("<dict><string>a</string></dict>"), "has no key"},
        Refused{"KeyWithoutValue", plist("<dict><key>a</key></dict>"), "a key has no value"},
        Refused{"KeyAfterKey", plist("<dict><key>a</key><key>b</key></dict>"), "a <key> stands where"},
        Refused{"KeyInArray", plist("<array><key>a</key></array>"), "a <key> stands where"},
        Refused{"KeyAlone", plist("<key>a</key>"), "a <key> stands where"},
        Refused{"TextInDictionary", plist("<dict>text</dict>"), "text stands outside"},
        Refused{"TextInArray", plist("<array>text</array>"), "text stands outside"},
        Refused{"ListInList", plist("<array><plist/></array>"), "<plist> stands inside"},
        Refused{"WrongEndTag", plist("<array></dict>"), "</array> is expected"},
        Refused{"WrongEndTagOfText", plist("<string>a</key>"), "</string> is expected"},
        Refused{"ElementInString", plist("<string>a<b/></string>"), "</string> is expected"},
        Refused{"UnknownElement", plist("<null/>"), "\"<null\" is no element"},
        Refused{"WebPage", "<html><body/></html>", "\"<html\" is no element"},
        Refused{"WebPageWithDocumentType", "<!DOCTYPE html><html></html>", "\"<html\" is no element"},
        Refused{"UndefinedEntity", plist("<string>&nbsp;</string>"), "entity \"nbsp\" is not defined"},
        Refused{"EntityWithoutEnd", plist("<string>a & b</string>"), "a reference has no end"},
        Refused{"ReferenceToNUL", plist("<string>&#0;</string>"), "no character"},
        Refused{"ReferenceToSurrogate", plist("<string>&#xD800;</string>"), "no character"},
        Refused{"ReferenceBeyondUnicode", plist("<string>&#x110000;</string>"), "no character"},
        Refused{"ReferenceWithoutDigits", plist("<string>&#x;</string>"), "no character"},
        Refused{"InternalSubset", "<!DOCTYPE plist [<!ENTITY a \"aaaa\">]><plist><string>&a;</string></plist>",
                "declares things of its own"},
        Refused{"DocumentTypeWithoutEnd", "<!DOCTYPE plist \">", "document type has no end"},
        Refused{"CommentWithoutEnd", "<!-- <plist><true/></plist>", "comment has no end"},
        Refused{"CDATAWithoutEnd", "<plist><string><![CDATA[a]]</string></plist>", "CDATA section has no end"},
        Refused{"CutOffInTag", "<plist><dict", "the tag has no end"},
        Refused{"CutOffInText", "<plist><string>abc", "<string> has no end"},
        Refused{"CutOffInDictionary", "<plist><dict><key>a</key>", "ends too early"},
        Refused{"CutOffBeforeFrameEnd", "<plist><true/>", "</plist> is expected"},
        Refused{"BadUTF8", plist("<string>\xC3(</string>"), "not UTF-8 at line 3"},
        Refused{"OverlongUTF8", plist("<string>\xC0\xAF</string>"), "not UTF-8"},
        Refused{"SurrogateInUTF8", plist("<string>\xED\xA0\x80</string>"), "not UTF-8"},
        Refused{"OddUTF16", std::string("\xFF\xFE<\0p", 5), "not UTF-16"},
        Refused{"UnpairedUTF16", std::string("\xFF\xFE<\0\x00\xD8", 6), "not UTF-16"},
        Refused{"NUL", plist(std::string("<string>a\0b</string>", 20)), "NUL"},
        Refused{"DeepArrays", "<plist>" + repeated("<array>", 100000), "more than 512 deep"},
        Refused{"DeepDictionaries", "<plist>" + repeated("<dict><key>a</key>", 100000), "more than 512 deep"}),
    [](const auto& tested) { return std::string(tested.param.name); });

}  // namespace
}  // namespace quillon
