#include <gtest/gtest.h>

#include "Support/ZipArchiveBuilder.h"
#include "ZipArchive/ZipArchiveError.h"
#include "ZipArchive/ZipExtraFields.h"
#include "ZipArchive/ZipFormat.h"

namespace quillon {
namespace {

using testing::littleEndian;
using testing::zipExtraField;

constexpr std::chrono::sys_seconds kTime{std::chrono::seconds(1'600'000'000)};

TEST(ZipExtraFieldsTest, TimesOfEveryKindAreRead) {
  const std::string seconds = littleEndian(1'600'000'000, 4);
  const std::string ticks = littleEndian(116'444'736'000'000'000 + 16'000'000'000'000'000, 8);

  EXPECT_EQ(parseZipExtraFields(zipExtraField(kZipExtraTimestamp, "\1" + seconds)).modificationTime, kTime);
  EXPECT_EQ(parseZipExtraFields(zipExtraField(kZipExtraInfoZIPUnix, seconds + seconds)).modificationTime, kTime);
  EXPECT_EQ(parseZipExtraFields(zipExtraField(kZipExtraPKWAREUnix, seconds + seconds + "uigi")).modificationTime,
            kTime);
  EXPECT_EQ(parseZipExtraFields(zipExtraField(kZipExtraNTFS, littleEndian(0, 4) + littleEndian(1, 2) +
                                                                 littleEndian(24, 2) + ticks + ticks + ticks))
                .modificationTime,
            kTime);
}

TEST(ZipExtraFieldsTest, TimesBefore1970AreNegative) {
  const auto fields = parseZipExtraFields(zipExtraField(kZipExtraTimestamp, "\1" + littleEndian(0xFFFFFFFF, 4)));

  EXPECT_EQ(fields.modificationTime, std::chrono::sys_seconds(std::chrono::seconds(-1)));
}

TEST(ZipExtraFieldsTest, ImpossibleTimesAreNone) {
  const std::string huge = littleEndian(0, 4) + littleEndian(1, 2) + littleEndian(24, 2) + std::string(24, '\x7F');

  EXPECT_EQ(parseZipExtraFields(zipExtraField(kZipExtraNTFS, huge)).modificationTime, std::nullopt);
  EXPECT_EQ(parseZipExtraFields(zipExtraField(kZipExtraTimestamp, "\1")).modificationTime, std::nullopt);
}

TEST(ZipExtraFieldsTest, UnknownFieldsAndPaddingArePassedOver) {
  EXPECT_NO_THROW((void)parseZipExtraFields(zipExtraField(0x7777, "anything") + std::string(3, '\0')));
}

TEST(ZipExtraFieldsTest, DevicesAndLinksAreSeen) {
  const std::string device = littleEndian(0, 4) + littleEndian(0020644, 2) + littleEndian(0x0801, 4);
  const std::string file = littleEndian(0, 4) + littleEndian(0100644, 2) + littleEndian(0, 4);

  EXPECT_TRUE(parseZipExtraFields(zipExtraField(kZipExtraASiUnix, device)).hasUnixLinkOrDevice);
  EXPECT_FALSE(parseZipExtraFields(zipExtraField(kZipExtraASiUnix, file)).hasUnixLinkOrDevice);
  EXPECT_TRUE(parseZipExtraFields(zipExtraField(kZipExtraPKWAREUnix, std::string(13, '\0'))).hasUnixLinkOrDevice);
}

TEST(ZipExtraFieldsTest, OnlyMarkedNumbersAreTakenFromTheZip64Field) {
  const std::string field = zipExtraField(kZipExtraZip64, littleEndian(5'000'000'000, 8) + littleEndian(7, 8));
  const ZipExtraFields fields = parseZipExtraFields(field);

  EXPECT_EQ(resolvedZip64Extents({.size = kZip64Marker32, .compressedSize = 3, .localHeaderOffset = kZip64Marker32},
                                 fields, true),
            (ZipExtents{.size = 5'000'000'000, .compressedSize = 3, .localHeaderOffset = 7}));
  EXPECT_THROW((void)resolvedZip64Extents({kZip64Marker32, kZip64Marker32, kZip64Marker32}, fields, true),
               ZipArchiveError);
}

}  // namespace
}  // namespace quillon
