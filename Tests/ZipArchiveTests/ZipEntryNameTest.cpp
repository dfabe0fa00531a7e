#include <gtest/gtest.h>

#include "Support/ZipArchiveBuilder.h"
#include "ZipArchive/ZipArchiveError.h"
#include "ZipArchive/ZipEntryName.h"
#include "ZipArchive/ZipFormat.h"

namespace quillon {
namespace {

constexpr ZipArchiveLimits kLimits;

ZipEntryName checked(std::string_view name, std::uint8_t host = kZipHostUnix) {
  return checkedZipName(name, host, kLimits);
}

TEST(ZipEntryNameTest, NamesBecomePathsBelowTheDestination) {
  EXPECT_EQ(checked("a/b"), (ZipEntryName{.path = "a/b", .endsWithSlash = false}));
  EXPECT_EQ(checked("a/b/"), (ZipEntryName{.path = "a/b", .endsWithSlash = true}));
  EXPECT_EQ(checked("./a/./b"), (ZipEntryName{.path = "a/b", .endsWithSlash = false}));
  EXPECT_EQ(checked("./"), (ZipEntryName{.path = "", .endsWithSlash = true}));
  EXPECT_EQ(checked("..a/b.."), (ZipEntryName{.path = "..a/b..", .endsWithSlash = false}));
}

TEST(ZipEntryNameTest, ABackslashIsALetterWhereItSeparatesNothing) {
  EXPECT_EQ(checked("a\\..\\b").path, "a\\..\\b");
  for (const std::uint8_t host : {kZipHostDOS, kZipHostNTFS, kZipHostVFAT}) {
    EXPECT_THROW((void)checked("a\\b", host), ZipArchiveError);
  }
}

TEST(ZipEntryNameTest, NamesAreUTF8WhereTheBytesAreAndCodePage437Otherwise) {
  EXPECT_EQ(decodedZipName("größe", 0, {}), "größe");
  EXPECT_EQ(decodedZipName("gr\x94\xE1", 0, {}), "größ");
  EXPECT_THROW((void)decodedZipName("gr\x94", kZipFlagUTF8, {}), ZipArchiveError);
}

TEST(ZipEntryNameTest, TheUnicodeNameCountsForTheNameThatItWasMadeFor) {
  ZipExtraFields fields;
  fields.unicodePath = "größe";
  fields.unicodePathNameCRC = testing::zipCRC32("gr__e");

  EXPECT_EQ(decodedZipName("gr__e", 0, fields), "größe");
  EXPECT_EQ(decodedZipName("renamed", 0, fields), "renamed");
  fields.unicodePath = "\xFF";
  EXPECT_THROW((void)decodedZipName("gr__e", 0, fields), ZipArchiveError);
}

TEST(ZipEntryNameTest, CollisionKeysIgnoreCaseAndComposition) {
  EXPECT_EQ(collisionKey("README"), collisionKey("readme"));
  EXPECT_EQ(collisionKey("\u00C9t\u00E9"), collisionKey("e\u0301te\u0301"));
  EXPECT_EQ(collisionKey("STRASSE"), collisionKey("straße"));
  EXPECT_NE(collisionKey("a"), collisionKey("b"));
  EXPECT_NE(collisionKey("a\xFF"), collisionKey("a\xFE"));
}

TEST(ZipEntryNameTest, PathsAreTakenApart) {
  EXPECT_TRUE(pathComponents("").empty());
  EXPECT_EQ(pathComponents("a/b"), (std::vector<std::string_view>{"a", "b"}));
}

}  // namespace
}  // namespace quillon
