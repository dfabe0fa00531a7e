// The property list codec held against the system's own: each reads what the other writes.

#import <Foundation/Foundation.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <limits>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#import "QuillonCore/Runtime/Apple/QuillonFoundationConversion.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"

namespace quillon {
namespace {

using Value = QuillonPropertyListValue;

/// The value that the system reads. Absent when it cannot, or when `bytes` are of another format.
std::optional<Value> readBySystem(std::string_view bytes, NSPropertyListFormat format) {
  NSData* const data = [NSData dataWithBytes:bytes.data() length:bytes.size()];
  NSPropertyListFormat found = NSPropertyListOpenStepFormat;
  NSError* error = nil;
  id const object = [NSPropertyListSerialization propertyListWithData:data
                                                              options:NSPropertyListImmutable
                                                               format:&found
                                                                error:&error];
  return found == format ? fromPropertyListObject(object) : std::nullopt;
}

std::string writtenBySystem(const Value& value, NSPropertyListFormat format) {
  NSError* error = nil;
  NSData* const data = [NSPropertyListSerialization dataWithPropertyList:toPropertyListObject(value)
                                                                  format:format
                                                                 options:0
                                                                   error:&error];
  return {static_cast<const char*>([data bytes]), [data length]};
}

struct Case {
  friend void PrintTo(const Case& tested, std::ostream* out) { *out << tested.name; }

  std::string name;
  Value value;
};

/// More entries, and more different texts, than one byte can name in a binary list.
Value longDictionary() {
  Value::Dictionary entries;
  for (int i = 0; i < 300; ++i) entries.emplace("key " + std::to_string(i), Value("text " + std::to_string(i)));
  return Value(entries);
}

std::vector<Case> cases() {
  using Limits = std::numeric_limits<std::int64_t>;
  const QuillonPropertyListDate date(std::chrono::seconds(1'700'000'000));
  const QuillonPropertyListDate before1970(std::chrono::seconds(-86'399));
  return {{"True", Value(true)},
          {"False", Value(false)},
          {"Zero", Value(0)},
          {"Minus", Value(-1)},
          {"TwoBytes", Value(65'535)},
          {"LargestInteger", Value(Limits::max())},
          {"SmallestInteger", Value(Limits::min())},
          {"Real", Value(0.1)},
          {"WholeReal", Value(3.0)},
          {"LargeReal", Value(1e300)},
          {"EmptyText", Value("")},
          {"TextWithMarkup", Value("a < b && c > \"d\"")},
          {"TextOfTwoLines", Value(" one\n\ttwo ")},
          {"TextBeyondASCII", Value("Größe \u2026")},
          {"TextBeyondSixteenBits", Value("\U0001F600")},
          {"EmptyData", Value(QuillonPropertyListData{})},
          {"Data", Value(QuillonPropertyListData{.bytes = {0x00, 0xFF, 0x10, 0x7F}})},
          {"Date", Value(date)},
          {"DateBefore1970", Value(before1970)},
          {"EmptyArray", Value(Value::Array{})},
          {"EmptyDictionary", Value(Value::Dictionary{})},
          {"Mixed", Value(Value::Array{Value("one"), Value(1), Value(true), Value(1.5), Value("one")})},
          {"Nested", Value(Value::Dictionary{{"a", Value(Value::Array{Value(Value::Dictionary{{"b", Value("c")}})})}})},
          {"LongDictionary", longDictionary()}};
}

class QuillonPropertyListCodecContractTest : public ::testing::TestWithParam<Case> {};

TEST_P(QuillonPropertyListCodecContractTest, TheSystemReadsTheXMLThatIsWrittenHere) {
  @autoreleasepool {
    EXPECT_EQ(readBySystem(writeXMLPropertyList(GetParam().value), NSPropertyListXMLFormat_v1_0), GetParam().value);
  }
}

TEST_P(QuillonPropertyListCodecContractTest, TheSystemReadsTheBinaryListThatIsWrittenHere) {
  @autoreleasepool {
    EXPECT_EQ(readBySystem(writeBinaryPropertyList(GetParam().value), NSPropertyListBinaryFormat_v1_0),
              GetParam().value);
  }
}

TEST_P(QuillonPropertyListCodecContractTest, TheXMLOfTheSystemIsReadHere) {
  @autoreleasepool {
    EXPECT_EQ(readPropertyList(writtenBySystem(GetParam().value, NSPropertyListXMLFormat_v1_0)), GetParam().value);
  }
}

TEST_P(QuillonPropertyListCodecContractTest, TheBinaryListOfTheSystemIsReadHere) {
  @autoreleasepool {
    EXPECT_EQ(readPropertyList(writtenBySystem(GetParam().value, NSPropertyListBinaryFormat_v1_0)), GetParam().value);
  }
}

INSTANTIATE_TEST_SUITE_P(Values, QuillonPropertyListCodecContractTest, ::testing::ValuesIn(cases()),
                         [](const auto& run) { return run.param.name; });

struct Text {
  friend void PrintTo(const Text& tested, std::ostream* out) { *out << tested.name; }

  std::string name;
  std::string bytes;
};

class QuillonPropertyListTextContractTest : public ::testing::TestWithParam<Text> {};

TEST_P(QuillonPropertyListTextContractTest, OldStyleTextIsTheSameHereAndToTheSystem) {
  @autoreleasepool {
    const auto value = readBySystem(GetParam().bytes, NSPropertyListOpenStepFormat);

    ASSERT_TRUE(value);
    EXPECT_EQ(readPropertyList(GetParam().bytes), *value);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Texts, QuillonPropertyListTextContractTest,
    ::testing::Values(Text{"Words", "{ name = word; path = /usr/lib/a.b-c_1; }"},
                      Text{"Arrays", "( one, \"two three\", ( four ), { five = 5; } )"},
                      Text{"Data", "{ bytes = <0fbd77 1c2735ae>; none = <>; }"},
                      Text{"Escapes",
                           R"({ text = "tab\tline\nquote\"back\\slash"; octal = "\101"; wide = "\U00e4"; })"},
                      Text{"Comments", "/* before */ { // one line\n a = b; /* within */ c = d; }"},
                      Text{"Table", "/* Button */\n\"Cancel\" = \"Abbrechen\";\n\"OK\" = \"Gut\";\n"},
                      Text{"BeyondASCII", "{ \"größe\" = \"…\"; }"}),
    [](const auto& run) { return run.param.name; });

}  // namespace
}  // namespace quillon
