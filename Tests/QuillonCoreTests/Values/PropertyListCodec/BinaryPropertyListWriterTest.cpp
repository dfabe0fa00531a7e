#include <gtest/gtest.h>

#include <string>

#include "QuillonCore/Values/QuillonPropertyListCodec.h"

namespace quillon {
namespace {

using Value = QuillonPropertyListValue;
using namespace std::string_literals;

/// The objects of `value`'s binary form, without header, table and trailer.
std::string objectsOf(const Value& value) {
  const std::string bytes = writeBinaryPropertyList(value);
  const auto table = static_cast<unsigned char>(bytes.back()) | static_cast<unsigned char>(bytes[bytes.size() - 2])
                                                                    << 8;
  return bytes.substr(8, static_cast<std::size_t>(table) - 8);
}

TEST(BinaryPropertyListWriterTest, HeaderTableAndTrailerFrameTheObjects) {
  EXPECT_EQ(writeBinaryPropertyList(Value(true)),
            "bplist00\x09\x08\0\0\0\0\0\0\x01\x01\0\0\0\0\0\0\0\x01\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x09"s);
}

TEST(BinaryPropertyListWriterTest, EqualStringsAreStoredOnce) {
  const Value list(Value::Array{Value("a"), Value("a"), Value(Value::Dictionary{{"a", Value("a")}})});

  EXPECT_EQ(objectsOf(list),
            "\xA3\x01\x01\x02\x51"
            "a"
            "\xD1\x01\x01");
}

TEST(BinaryPropertyListWriterTest, NumbersTakeTheSmallestSize) {
  EXPECT_EQ(objectsOf(Value(0)), "\x10\0"s);
  EXPECT_EQ(objectsOf(Value(256)), "\x11\x01\0"s);
  EXPECT_EQ(objectsOf(Value(65536)), "\x12\0\x01\0\0"s);
  EXPECT_EQ(objectsOf(Value(-1)), "\x13" + std::string(8, '\xFF'));
  EXPECT_EQ(objectsOf(Value(1.5)), "\x23\x3F\xF8\0\0\0\0\0\0"s);
}

TEST(BinaryPropertyListWriterTest, StringsBeyondASCIIAreUTF16) {
  EXPECT_EQ(objectsOf(Value("\xC3\xBC\xF0\x9F\x98\x80")), "\x63\x00\xFC\xD8\x3D\xDE\x00"s);
}

TEST(BinaryPropertyListWriterTest, CountsFromFifteenOnAreIntegersOfTheirOwn) {
  EXPECT_EQ(objectsOf(Value(std::string(14, 'x'))), "\x5E" + std::string(14, 'x'));
  EXPECT_EQ(objectsOf(Value(std::string(15, 'x'))), "\x5F\x10\x0F" + std::string(15, 'x'));
  EXPECT_EQ(objectsOf(Value(std::string(300, 'x'))), "\x5F\x11\x01\x2C" + std::string(300, 'x'));
}

TEST(BinaryPropertyListWriterTest, DatesKeepTheirFraction) {
  const QuillonPropertyListDate date(std::chrono::microseconds(1700000000123456));
  const QuillonPropertyListDate distantPast(std::chrono::sys_days(std::chrono::year(1) / 1 / 1));

  EXPECT_EQ(readPropertyList(writeBinaryPropertyList(Value(date))), Value(date));
  EXPECT_EQ(readPropertyList(writeBinaryPropertyList(Value(distantPast))), Value(distantPast));
}

TEST(BinaryPropertyListWriterTest, ControlCharactersAreKept) {
  const Value value(std::string("a\0\x14", 3));

  EXPECT_EQ(readPropertyList(writeBinaryPropertyList(value)), value);
}

TEST(BinaryPropertyListWriterTest, WhatIsNotUTF8OrTooDeepIsRefused) {
  Value deep(1);
  for (int i = 0; i < 513; ++i) {
    Value::Array array;
    array.push_back(std::move(deep));
    deep = Value(std::move(array));
  }

  EXPECT_THROW(static_cast<void>(writeBinaryPropertyList(Value("\xFF"))), QuillonPropertyListError);
  EXPECT_THROW(static_cast<void>(writeBinaryPropertyList(deep)), QuillonPropertyListError);
}

}  // namespace
}  // namespace quillon
