#include <gtest/gtest.h>

#include "ZipArchive/ZipByteReader.h"
#include "ZipArchive/ZipCentralHeader.h"
#include "ZipArchive/ZipFormat.h"
#include "ZipArchive/ZipRecordWriter.h"

namespace quillon {
namespace {

ZipWrittenEntry sampleEntry() {
  ZipWrittenEntry entry;
  entry.name = "größe";
  entry.method = kZipMethodDeflated;
  entry.crc32 = 0x12345678;
  entry.size = 100;
  entry.compressedSize = 50;
  entry.localHeaderOffset = 7;
  entry.mode = 0100755;
  entry.modificationTime = std::chrono::sys_seconds(std::chrono::seconds(1'600'000'001));
  return entry;
}

ZipEntry readBack(const ZipWrittenEntry& entry) {
  const std::string header = zipCentralHeader(entry);
  ZipByteReader reader(header);
  return readZipCentralHeader(reader, {});
}

TEST(ZipRecordWriterTest, TheCentralHeaderSaysWhatItWasGiven) {
  const ZipEntry entry = readBack(sampleEntry());

  EXPECT_EQ(entry.path, "größe");
  EXPECT_EQ(entry.flags, kZipFlagUTF8);
  EXPECT_EQ(entry.crc32, 0x12345678U);
  EXPECT_EQ(entry.size, 100U);
  EXPECT_EQ(entry.compressedSize, 50U);
  EXPECT_EQ(entry.localHeaderOffset, 7U);
  EXPECT_EQ(entry.permissions, 0755);
  EXPECT_EQ(entry.modificationTime, std::chrono::sys_seconds(std::chrono::seconds(1'600'000'001)));
}

TEST(ZipRecordWriterTest, LargeNumbersGoToTheZip64Field) {
  ZipWrittenEntry written = sampleEntry();
  written.size = 6'000'000'000;
  written.compressedSize = 5'000'000'000;
  written.localHeaderOffset = 7'000'000'000;

  const ZipEntry entry = readBack(written);

  EXPECT_EQ(entry.size, 6'000'000'000U);
  EXPECT_EQ(entry.compressedSize, 5'000'000'000U);
  EXPECT_EQ(entry.localHeaderOffset, 7'000'000'000U);
}

TEST(ZipRecordWriterTest, ALocalHeaderKeepsItsLengthWhenTheSizesAreKnown) {
  ZipWrittenEntry entry = sampleEntry();
  for (const bool isLarge : {false, true}) {
    entry.isLarge = isLarge;
    ZipWrittenEntry before = entry;
    before.size = 0;
    before.compressedSize = 0;
    EXPECT_EQ(zipLocalHeader(before).size(), zipLocalHeader(entry).size());
  }
}

TEST(ZipRecordWriterTest, ManyEntriesNeedZip64Records) {
  EXPECT_EQ(zipEndRecords(10, 20, 65'534).size(), kZipEndLength);
  EXPECT_EQ(zipEndRecords(10, 20, 65'535).size(), kZip64EndLength + kZip64LocatorLength + kZipEndLength);
  EXPECT_EQ(zipEndRecords(5'000'000'000, 20, 1).size(), kZip64EndLength + kZip64LocatorLength + kZipEndLength);
}

TEST(ZipRecordWriterTest, TimesOutOfTheFieldsRangeAreLeftToTheCoarseOne) {
  ZipWrittenEntry entry = sampleEntry();
  entry.modificationTime = std::chrono::sys_days(std::chrono::year(2050) / 6 / 1);

  const auto difference = readBack(entry).modificationTime - entry.modificationTime;

  EXPECT_LE(std::chrono::abs(difference), std::chrono::seconds(2));
}

}  // namespace
}  // namespace quillon
