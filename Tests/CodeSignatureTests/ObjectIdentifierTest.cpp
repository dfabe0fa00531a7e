#include <gtest/gtest.h>

#include "CodeSignature/ObjectIdentifier.h"

namespace quillon {
namespace {

using namespace std::string_view_literals;

TEST(ObjectIdentifierTest, DottedAndContentBytesAreTheSame) {
  const std::string content = "\x2A\x86\x48\x86\xF7\x63\x64\x06\x01\x0D";

  EXPECT_EQ(objectIdentifierContent("1.2.840.113635.100.6.1.13"), content);
  EXPECT_EQ(dottedObjectIdentifier(content), "1.2.840.113635.100.6.1.13");
  EXPECT_EQ(dottedObjectIdentifier("\x88\x37\x03"), "2.999.3");
  EXPECT_EQ(objectIdentifierContent("2.999.3"), "\x88\x37\x03");
}

TEST(ObjectIdentifierTest, WhatIsNoneIsAbsent) {
  for (const char* text : {"", "1", "3.1", "1.40", "1..2", "1.2.", ".1.2", "1.a", "1.2.99999999999999999999", "1 2"}) {
    EXPECT_FALSE(objectIdentifierContent(text).has_value()) << text;
  }
  EXPECT_FALSE(dottedObjectIdentifier("").has_value());
  EXPECT_FALSE(dottedObjectIdentifier("\x2A\x86"sv).has_value());
  EXPECT_FALSE(dottedObjectIdentifier("\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\x01"sv).has_value());
}

}  // namespace
}  // namespace quillon
