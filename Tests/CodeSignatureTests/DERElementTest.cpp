#include <gtest/gtest.h>

#include <string>

#include "CodeSignature/DERElement.h"

namespace quillon {
namespace {

using namespace std::string_view_literals;

TEST(DERElementTest, LengthsAreTheShortest) {
  EXPECT_EQ(derElement(BERTag::null, ""), "\x05\0"sv);
  EXPECT_EQ(derElement(BERTag::octetString, "xy"), "\x04\x02xy");
  EXPECT_EQ(derElement(BERTag::octetString, std::string(127, 'x')).substr(0, 3), "\x04\x7Fx");
  EXPECT_EQ(derElement(BERTag::octetString, std::string(128, 'x')).substr(0, 4), "\x04\x81\x80x");
  EXPECT_EQ(derElement(BERTag::octetString, std::string(256, 'x')).substr(0, 5), "\x04\x82\x01\0x"sv);
}

TEST(DERElementTest, WhatIsWrittenIsReadBack) {
  for (const std::size_t length : {0U, 1U, 127U, 128U, 255U, 256U, 65535U, 65536U}) {
    const std::string content(length, 'x');
    const std::string written = derElement(BERTag::sequence, content);

    BERReader reader(written);
    EXPECT_EQ(reader.next(BERTag::sequence).content, content);
    EXPECT_TRUE(reader.isAtEnd());
  }
}

TEST(DERElementTest, SetsAreInTheOrderOfTheirBytes) {
  EXPECT_EQ(derSetOf({"\x04\x01\xFF", "\x02\x01\x01", "\x04\x01\x01"}), "\x31\x09\x02\x01\x01\x04\x01\x01\x04\x01\xFF");
  EXPECT_EQ(derSetOf({}, BERTag::context0), "\xA0\0"sv);
}

TEST(DERElementTest, ObjectIdentifiersHaveTheirTag) {
  EXPECT_EQ(derObjectIdentifier("1.2.840.113549"), "\x06\x06\x2A\x86\x48\x86\xF7\x0D");
}

}  // namespace
}  // namespace quillon
