#include <gtest/gtest.h>

#include <string>

#include "CodeSignature/BERElement.h"
#include "CodeSignature/CodeSignatureError.h"

namespace quillon {
namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

TEST(BERElementTest, ValuesAreReadOneAfterTheOther) {
  BERReader reader("\x02\x01\x07\x04\x02xy"sv);

  EXPECT_EQ(reader.next(BERTag::integer).content, "\x07");
  const BERElement text = reader.next(BERTag::octetString);
  EXPECT_EQ(text.content, "xy");
  EXPECT_EQ(text.whole, "\x04\x02xy");
  EXPECT_TRUE(reader.isAtEnd());
}

TEST(BERElementTest, LongLengthsAreRead) {
  const std::string bytes = "\x04\x82\x01\x00"s.append(256, 'x');

  EXPECT_EQ(BERReader(bytes).next().content.size(), 256U);
}

TEST(BERElementTest, IndefiniteLengthsNest) {
  BERReader reader("\x30\x80\x30\x80\x02\x01\x07\0\0\x05\0\0\0"sv);

  const BERElement outer = reader.next(BERTag::sequence);

  EXPECT_EQ(outer.content, "\x30\x80\x02\x01\x07\0\0\x05\0"sv);
  EXPECT_TRUE(reader.isAtEnd());
}

TEST(BERElementTest, MalformedValuesAreRefused) {
  for (const std::string_view bytes :
       {""sv, "\x02"sv, "\x02\x02\x01"sv, "\x04\x81\x05xxxxx"sv,  // length not minimal
        "\x04\x82\x00\x80"sv, "\x04\x80xx\0\0"sv,                 // indefinite, not constructed
        "\x30\x80\x02\x01\x07"sv, "\x30\x80\0"sv, "\x1F\x01x"sv, "\x04\x85\x01\x00\x00\x00\x00"sv}) {
    EXPECT_THROW((void)BERReader(bytes).next(), CodeSignatureError) << bytes;
  }
}

TEST(BERElementTest, OtherTagIsRefusedEvenWhenOnlyTheConstructedBitDiffers) {
  EXPECT_THROW((void)BERReader("\x11\x00"sv).next(BERTag::set), CodeSignatureError);
}

TEST(BERElementTest, DeepNestingIsRefused) {
  std::string bytes;
  for (int i = 0; i < 1000; ++i) bytes += "\x30\x80";

  EXPECT_THROW((void)BERReader(bytes).next(), CodeSignatureError);
}

TEST(BERElementTest, RestIsRefusedWhereTheEndIsExpected) {
  BERReader reader("\x05\x00\x05\x00"sv);
  (void)reader.next();

  EXPECT_THROW(reader.expectEnd(), CodeSignatureError);
}

}  // namespace
}  // namespace quillon
