#include <gtest/gtest.h>

#include "CodeSignature/CodeHash.h"
#include "CodeSignature/Entitlements.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using Array = QuillonPropertyListValue::Array;
using Dictionary = QuillonPropertyListValue::Dictionary;

Entitlements entitlementsOf(Dictionary values) {
  return Entitlements::read(writeBinaryPropertyList(QuillonPropertyListValue(std::move(values))));
}

/// The DER form without the blob's header, in hexadecimal digits.
std::string derOf(Dictionary values) {
  return hexadecimal(entitlementsOf(std::move(values)).derBlob().substr(8));
}

/// The DER form of "a" = `value` from the value on.
std::string encodedValue(QuillonPropertyListValue value) {
  Dictionary values;
  values.emplace("a", std::move(value));
  const std::string der = derOf(std::move(values));
  const std::size_t key = der.find("0c0161");
  return key == std::string::npos ? std::string() : der.substr(key + 6);
}

std::string errorOf(std::string_view propertyList) {
  try {
    (void)Entitlements::read(propertyList);
    return {};
  } catch (const QuillonError& error) {
    return error.description();
  }
}

std::string errorOf(QuillonPropertyListValue value) {
  Dictionary values;
  values.emplace("com.example.right", std::move(value));
  return errorOf(writeBinaryPropertyList(QuillonPropertyListValue(std::move(values))));
}

std::string header(std::string_view magic, std::size_t length) {
  std::string bytes(magic);
  for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>((length >> shift) & 0xFF);
  return bytes;
}

TEST(EntitlementsTest, KeyThatStandsTwiceHasOneValueInBothForms) {
  const Entitlements entitlements = Entitlements::read(
      "<plist version=\"1.0\"><dict><key>get-task-allow</key><true/><key>get-task-allow</key><false/></dict></plist>");

  Dictionary values;
  values.emplace("get-task-allow", false);
  EXPECT_EQ(entitlements.propertyListBlob().substr(8), writeXMLPropertyList(QuillonPropertyListValue(values)));
  EXPECT_EQ(entitlements.derBlob(), entitlementsOf(values).derBlob());
  EXPECT_FALSE(entitlements.grants("get-task-allow"));
}

TEST(EntitlementsTest, ListOfAnyFormIsWrittenAsXML) {
  Dictionary values;
  values.emplace("a", true);
  const std::string text = writeXMLPropertyList(QuillonPropertyListValue(values));

  const Entitlements entitlements = entitlementsOf(values);

  EXPECT_EQ(entitlements.propertyListBlob(), header("\xFA\xDE\x71\x71", 8 + text.size()) + text);
}

TEST(EntitlementsTest, ListThatBeginsWithAByteOrderMarkIsRewrittenWithoutIt) {
  const std::string text = "\xEF\xBB\xBF<plist version=\"1.0\"><dict><key>a</key><true/></dict></plist>";

  const Entitlements entitlements = Entitlements::read(text);

  EXPECT_TRUE(entitlements.propertyListBlob().substr(8).starts_with("<?xml"));
}

TEST(EntitlementsTest, DERFormIsADictionaryInAnEnvelopeWithItsVersion) {
  Dictionary values;
  values.emplace("get-task-allow", true);
  // [APPLICATION 16] { INTEGER 1, [CONTEXT 16] { SEQUENCE { "get-task-allow", TRUE } } }
  const std::string expected =
      std::string("701a") + "020101" + "b015" + "3013" + "0c0e" + hexadecimal("get-task-allow") + "0101ff";

  EXPECT_EQ(derOf(values), expected);
  EXPECT_EQ(entitlementsOf(values).derBlob().substr(0, 8), header("\xFA\xDE\x71\x72", 8 + expected.size() / 2));
  EXPECT_EQ(derOf({}), "7005020101b000");
}

TEST(EntitlementsTest, KeysAreSortedByTheirBytes) {
  Dictionary values;
  for (const char* key : {"b", "aa", "a", "B", "\xC3\xA4"}) values.emplace(key, false);

  const std::string der = derOf(values);

  std::size_t position = 0;
  for (const char* key : {"0c0142", "0c0161", "0c026161", "0c0162", "0c02c3a4"}) {
    const std::size_t found = der.find(key);
    ASSERT_NE(found, std::string::npos) << key;
    EXPECT_GT(found, position) << key;
    position = found;
  }
}

TEST(EntitlementsTest, EveryPermittedTypeHasItsEncoding) {
  EXPECT_EQ(encodedValue(QuillonPropertyListValue(true)), "0101ff");
  EXPECT_EQ(encodedValue(QuillonPropertyListValue(false)), "010100");
  EXPECT_EQ(encodedValue(QuillonPropertyListValue("text")), "0c0474657874");
  EXPECT_EQ(encodedValue(QuillonPropertyListValue("")), "0c00");

  Array array;
  array.emplace_back("x");
  array.emplace_back(7);
  EXPECT_EQ(encodedValue(QuillonPropertyListValue(array)), "30060c0178020107");

  Dictionary inner;
  inner.emplace("k", true);
  EXPECT_EQ(encodedValue(QuillonPropertyListValue(inner)), "b00830060c016b0101ff");
}

TEST(EntitlementsTest, IntegersTakeAsFewBytesAsKeepTheSign) {
  const auto encoded = [](std::int64_t value) { return encodedValue(QuillonPropertyListValue(value)); };

  EXPECT_EQ(encoded(0), "020100");
  EXPECT_EQ(encoded(127), "02017f");
  EXPECT_EQ(encoded(128), "02020080");
  EXPECT_EQ(encoded(256), "02020100");
  EXPECT_EQ(encoded(-1), "0201ff");
  EXPECT_EQ(encoded(-128), "020180");
  EXPECT_EQ(encoded(-129), "0202ff7f");
  EXPECT_EQ(encoded(INT64_MAX), "02087fffffffffffffff");
  EXPECT_EQ(encoded(INT64_MIN), "02088000000000000000");
}

TEST(EntitlementsTest, LongLengthsTakeMoreBytes) {
  EXPECT_TRUE(encodedValue(QuillonPropertyListValue(std::string(127, 'x'))).starts_with("0c7f78"));
  EXPECT_TRUE(encodedValue(QuillonPropertyListValue(std::string(128, 'x'))).starts_with("0c818078"));
  EXPECT_TRUE(encodedValue(QuillonPropertyListValue(std::string(256, 'x'))).starts_with("0c82010078"));
  EXPECT_TRUE(encodedValue(QuillonPropertyListValue(std::string(65536, 'x'))).starts_with("0c8301000078"));
}

TEST(EntitlementsTest, TypesWithoutAPlaceInDERAreRefusedByTheNameOfTheirKey) {
  Dictionary inner;
  inner.emplace("inner", 1.5);
  Array array;
  array.emplace_back(inner);
  const std::string expected =
      "The entitlement \"com.example.right\" is neither a Boolean, an integer, a string, an array nor a dictionary";

  EXPECT_EQ(errorOf(QuillonPropertyListValue(QuillonPropertyListData{{1, 2}})), expected);
  EXPECT_EQ(errorOf(QuillonPropertyListValue(QuillonPropertyListDate{})), expected);
  EXPECT_EQ(errorOf(QuillonPropertyListValue(1.5)), expected);
  EXPECT_EQ(errorOf(QuillonPropertyListValue(array)), expected);
}

TEST(EntitlementsTest, NestingIsLimited) {
  QuillonPropertyListValue value(true);
  for (int i = 0; i < 31; ++i) {
    Array around;
    around.push_back(std::move(value));
    value = QuillonPropertyListValue(std::move(around));
  }
  EXPECT_EQ(errorOf(value), "");

  Array around;
  around.push_back(std::move(value));
  EXPECT_EQ(errorOf(QuillonPropertyListValue(std::move(around))),
            "The entitlement \"com.example.right\" is nested too deeply");
}

TEST(EntitlementsTest, WhatIsNoDictionaryOrTooLongIsRefused) {
  EXPECT_EQ(errorOf("<plist version=\"1.0\"><array/></plist>"), "The entitlements are not a dictionary");
  EXPECT_EQ(errorOf(std::string((1 << 20) + 1, ' ')), "The entitlements are longer than 1 MiB");
  EXPECT_TRUE(errorOf("bplist00 nonsense").starts_with("The entitlements are no property list: "));
  EXPECT_TRUE(errorOf("<plist").starts_with("The entitlements are no property list: "));
}

TEST(EntitlementsTest, FileIsReadWithinTheSameLimits) {
  const testing::TemporaryDirectory folder;
  const auto url = [&folder](std::string_view name) { return QuillonURL::fileURL((folder / name).string()); };
  testing::writeFile(folder / "good", "<plist version=\"1.0\"><dict><key>a</key><true/></dict></plist>");
  testing::writeFile(folder / "long", std::string((1 << 20) + 1, ' '));

  EXPECT_TRUE(Entitlements::load(url("good")).grants("a"));
  EXPECT_THROW((void)Entitlements::load(url("long")), QuillonSystemError);
  EXPECT_THROW((void)Entitlements::load(url("missing")), QuillonSystemError);
}

TEST(EntitlementsTest, OnlyTrueGrants) {
  Dictionary values;
  values.emplace("yes", true);
  values.emplace("no", false);
  values.emplace("one", 1);

  const Entitlements entitlements = entitlementsOf(values);

  EXPECT_TRUE(entitlements.grants("yes"));
  EXPECT_FALSE(entitlements.grants("no"));
  EXPECT_FALSE(entitlements.grants("one"));
  EXPECT_FALSE(entitlements.grants("absent"));
}

}  // namespace
}  // namespace quillon
