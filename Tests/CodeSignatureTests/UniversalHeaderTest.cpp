#include <gtest/gtest.h>

#include "CodeSignature/CodeHash.h"
#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/UniversalHeader.h"

namespace quillon {
namespace {

TEST(UniversalHeaderTest, WhatIsBuiltIsReadBack) {
  const std::string header = buildUniversalHeader(
      {{.cpuType = 0x01000007, .cpuSubtype = 0x80000003, .offset = 4096, .length = 100, .alignment = 12},
       {.cpuType = 0x0100000C, .cpuSubtype = 0, .offset = 16384, .length = 200, .alignment = 14}});

  EXPECT_EQ(hexadecimal(header),
            "cafebabe00000002"
            "0100000780000003"
            "00001000"
            "00000064"
            "0000000c"
            "0100000c00000000"
            "00004000"
            "000000c8"
            "0000000e");
  EXPECT_EQ(header.size(), universalHeaderLength(2));
  const UniversalHeaderEntry second = readUniversalHeaderEntry(header, 1);
  EXPECT_EQ(second.cpuType, 0x0100000CU);
  EXPECT_EQ(second.offset, 16384U);
  EXPECT_EQ(second.length, 200U);
  EXPECT_EQ(second.alignment, 14U);
}

TEST(UniversalHeaderTest, EntryBeyondTheBytesIsAnError) {
  const std::string header = buildUniversalHeader({UniversalHeaderEntry{}});

  EXPECT_THROW((void)readUniversalHeaderEntry(header, 1), CodeSignatureError);
  EXPECT_THROW((void)readUniversalHeaderEntry(header.substr(0, header.size() - 1), 0), CodeSignatureError);
}

TEST(UniversalHeaderTest, OffsetIsTheNextMultipleOfTheAlignment) {
  EXPECT_EQ(universalImageOffset(48, 12), 4096U);
  EXPECT_EQ(universalImageOffset(4096, 12), 4096U);
  EXPECT_EQ(universalImageOffset(4097, 14), 16384U);
  EXPECT_EQ(universalImageOffset(48, 0), 48U);
  EXPECT_EQ(universalImageOffset(48, 31), std::uint64_t{1} << 31);
}

TEST(UniversalHeaderTest, ImageBeyondFourGiBIsRefused) {
  UniversalHeaderEntry entry{.offset = 4096, .length = 0xFFFFFFFF - 4096};
  EXPECT_NO_THROW((void)buildUniversalHeader({entry}));

  ++entry.length;

  EXPECT_THROW((void)buildUniversalHeader({entry}), QuillonError);
}

}  // namespace
}  // namespace quillon
