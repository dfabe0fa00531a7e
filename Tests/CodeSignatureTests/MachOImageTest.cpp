#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/MachOImage.h"
#include "Support/MachOBuilder.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::Field;
using testing::kARM64;
using testing::kI386;
using testing::kPowerPC;
using testing::kX86_64;
using testing::MachOArchitecture;
using testing::MachOBuilder;
using testing::machOCommandOffset;
using testing::MachOVersionCommand;
using testing::setMachOField;

constexpr std::uint32_t kSegment32 = 0x1;
constexpr std::uint32_t kSymbolTable = 0x2;
constexpr std::uint32_t kSegment64 = 0x19;
constexpr std::uint32_t kUUID = 0x1B;
constexpr std::uint32_t kCodeSignature = 0x1D;
constexpr std::uint32_t kMinimumVersionMacOS = 0x24;
constexpr std::uint32_t kBuildVersion = 0x32;

MachOImage parse(const std::string& image) {
  return parseMachOImage(image, image.size());
}

/// True when the image is refused; every other error than the one documented fails the test.
bool isRefused(const std::string& image, std::uint64_t length) {
  try {
    (void)parseMachOImage(image, length);
    return false;
  } catch (const CodeSignatureError& error) {
    EXPECT_EQ(error.code(), CodeSignatureErrorCode::badObjectFormat);
    return true;
  }
}

class MachOArchitectureTest : public ::testing::TestWithParam<MachOArchitecture> {};

TEST_P(MachOArchitectureTest, AnImageIsReadInItsByteOrderAndWidth) {
  const MachOArchitecture& architecture = GetParam();
  const std::string bytes = MachOBuilder(architecture).withInformation("<plist/>").withSignature("signature!").build();

  const MachOImage image = parse(bytes);

  EXPECT_EQ(image.cpuType, architecture.cpuType);
  EXPECT_EQ(image.cpuSubtype, architecture.cpuSubtype);
  EXPECT_EQ(image.is64Bit, architecture.is64Bit);
  EXPECT_EQ(image.isBigEndian, architecture.isBigEndian);
  EXPECT_TRUE(image.isExecutable());
  EXPECT_THAT(image.segments,
              ElementsAre(Field(&MachOSegment::name, "__PAGEZERO"), Field(&MachOSegment::name, "__TEXT"),
                          Field(&MachOSegment::name, "__DATA"), Field(&MachOSegment::name, "__LINKEDIT")));
  EXPECT_EQ(image.findSegment("__TEXT")->fileLength, 4096U);
  EXPECT_EQ(image.findSegment("__LINKEDIT")->fileEnd(), bytes.size());
  const MachOSection* information = image.findSection("__TEXT", "__info_plist");
  ASSERT_NE(information, nullptr);
  EXPECT_EQ(bytes.substr(information->fileOffset, information->length), "<plist/>");
  EXPECT_EQ(bytes.substr(image.signature->dataOffset), "signature!");
  EXPECT_EQ(image.signature->dataLength, 10U);
  EXPECT_EQ(image.uuid, "0123456789ABCDEF");
  EXPECT_EQ(image.version->platform, 1U);
  EXPECT_EQ(image.version->minimum, 0x000B0000U);
  EXPECT_EQ(image.version->sdk, 0x000E0200U);
}

INSTANTIATE_TEST_SUITE_P(Architectures, MachOArchitectureTest, ::testing::Values(kARM64, kX86_64, kI386, kPowerPC),
                         [](const auto& test) { return architectureName(test.param.cpuType, test.param.cpuSubtype); });

TEST(MachOImageTest, ExtentOfTheCommandsIsKnown) {
  const std::string bytes = MachOBuilder(kARM64).withSignature("s").build();

  const MachOImage image = parse(bytes);

  EXPECT_EQ(image.commandsOffset, 32U);
  EXPECT_EQ(image.commandsEnd, machOHeaderLength(bytes, bytes.size()));
  // The signature's is the last and takes the free space before the code.
  EXPECT_EQ(image.signature->commandOffset, image.commandsEnd - 16);
  EXPECT_EQ(image.findSection("__TEXT", "__text")->fileOffset, image.commandsEnd);
  EXPECT_EQ(image.findSegment("__LINKEDIT")->commandOffset + 72, machOCommandOffset(bytes, kSymbolTable));
}

TEST(MachOImageTest, OnlyHeaderAndCommandsAreLookedAt) {
  const std::string bytes = MachOBuilder(kX86_64).withSignature("s").build();

  const MachOImage image = parseMachOImage(bytes.substr(0, machOHeaderLength(bytes, bytes.size())), bytes.size());

  EXPECT_EQ(image.segments.size(), 4U);
  EXPECT_TRUE(image.signature);
}

TEST(MachOImageTest, WhatAnImageDoesNotHaveIsAbsent) {
  const MachOImage image =
      parse(MachOBuilder().withoutUUID().withoutLinkEdit().withVersionCommand(MachOVersionCommand::none).build());

  EXPECT_FALSE(image.uuid);
  EXPECT_FALSE(image.version);
  EXPECT_FALSE(image.signature);
  EXPECT_EQ(image.findSegment("__LINKEDIT"), nullptr);
  EXPECT_EQ(image.findSection("__TEXT", "__info_plist"), nullptr);
  EXPECT_EQ(image.findSection("__DATA", "__text"), nullptr);
}

TEST(MachOImageTest, ZeroFillSectionsHaveNoBytesInTheFile) {
  std::string bytes = MachOBuilder().build();
  const std::size_t section = parse(bytes).findSegment("__DATA")->commandOffset + 72;
  setMachOField(bytes, section + 48, 0xFFFFFFF0);  // an offset that means nothing

  for (const std::uint32_t type : {0x1U, 0xCU, 0x12U}) {
    setMachOField(bytes, section + 64, type);
    const MachOImage image = parse(bytes);
    EXPECT_EQ(image.findSection("__DATA", "__bss")->fileOffset, 0U);
    EXPECT_EQ(image.findSection("__DATA", "__bss")->length, 256U);
  }
  setMachOField(bytes, section + 64, 0x2);
  EXPECT_TRUE(isRefused(bytes, bytes.size()));
}

TEST(MachOImageTest, StringTableEndIsReadFromTheSymbolTable) {
  const std::string bytes = MachOBuilder().withoutLinkEdit().build();

  EXPECT_EQ(parse(bytes).stringTableEnd, bytes.size());
}

TEST(MachOImageTest, VersionsAreReadFromTheOlderCommandsOfEachPlatform) {
  std::string bytes = MachOBuilder(kI386).withVersionCommand(MachOVersionCommand::minimum).build();
  const std::size_t command = machOCommandOffset(bytes, kMinimumVersionMacOS);
  const auto platformOf = [&](std::uint32_t kind) {
    setMachOField(bytes, command, kind);
    return parse(bytes).version->platform;
  };

  EXPECT_EQ(parse(bytes).version->minimum, 0x000B0000U);
  EXPECT_EQ(parse(bytes).version->sdk, 0x000E0200U);
  EXPECT_EQ(platformOf(0x24), 1U);
  EXPECT_EQ(platformOf(0x25), 2U);
  EXPECT_EQ(platformOf(0x2F), 3U);
  EXPECT_EQ(platformOf(0x30), 4U);
}

TEST(MachOImageTest, BuildVersionCountsBeforeOlderVersionCommands) {
  std::string bytes = MachOBuilder().build();
  setMachOField(bytes, machOCommandOffset(bytes, kUUID), kMinimumVersionMacOS);

  EXPECT_EQ(parse(bytes).version->minimum, 0x000B0000U);
}

TEST(MachOImageTest, FirstBuildVersionCounts) {
  std::string bytes = MachOBuilder().build();
  const std::size_t first = machOCommandOffset(bytes, kUUID);
  setMachOField(bytes, first, kBuildVersion);
  setMachOField(bytes, first + 8, 6);

  EXPECT_EQ(parse(bytes).version->platform, 6U);
}

TEST(MachOImageTest, CapabilityBitsAreNotPartOfTheSubtype) {
  std::string bytes = MachOBuilder().build();
  setMachOField(bytes, 8, 0x80000002);

  EXPECT_EQ(parse(bytes).cpuSubtype, 2U);
}

TEST(MachOImageTest, FileTypesOfCodeCanBeSigned) {
  for (const std::uint32_t type : {2U, 5U, 6U, 7U, 8U, 11U}) EXPECT_TRUE(isSignableMachOFileType(type)) << type;
  for (const std::uint32_t type : {0U, 1U, 3U, 4U, 9U, 10U, 12U, 258U})
    EXPECT_FALSE(isSignableMachOFileType(type)) << type;
}

TEST(MachOImageTest, FileTypeIsReadFromTheFirstBytes) {
  const std::string little = MachOBuilder().withFileType(MachOFileType::bundle).build();
  const std::string big = MachOBuilder(kPowerPC).withFileType(MachOFileType::dynamicLibrary).build();

  EXPECT_EQ(machOFileType(little.substr(0, 16)), 8U);
  EXPECT_EQ(machOFileType(big.substr(0, 16)), 6U);
  EXPECT_FALSE(machOFileType(big.substr(0, 15)));
  EXPECT_FALSE(machOFileType("#!/bin/sh and more"));
  EXPECT_FALSE(machOFileType(""));
  EXPECT_FALSE(parse(little).isExecutable());
}

TEST(MachOImageTest, HeaderLengthHasALimit) {
  constexpr std::uint32_t kLimit = 16 << 20;
  std::string start = MachOBuilder().build().substr(0, 32);

  setMachOField(start, 20, kLimit - 32);
  EXPECT_EQ(machOHeaderLength(start, kLimit), kLimit);
  EXPECT_THROW((void)machOHeaderLength(start, kLimit - 1), CodeSignatureError);
  setMachOField(start, 20, kLimit - 31);
  EXPECT_THROW((void)machOHeaderLength(start, std::uint64_t{kLimit} * 2), CodeSignatureError);
  setMachOField(start, 20, 0xFFFFFFFF);
  EXPECT_THROW((void)machOHeaderLength(start, UINT64_MAX), CodeSignatureError);
}

TEST(MachOImageTest, ArchitecturesHaveTheirUsualNames) {
  EXPECT_EQ(architectureName(0x0100000C, 0), "arm64");
  EXPECT_EQ(architectureName(0x0100000C, 2), "arm64e");
  EXPECT_EQ(architectureName(0x01000007, 3), "x86_64");
  EXPECT_EQ(architectureName(0x01000007, 8), "x86_64h");
  EXPECT_EQ(architectureName(7, 3), "i386");
  EXPECT_EQ(architectureName(12, 9), "armv7");
  EXPECT_EQ(architectureName(18, 0), "ppc");
  EXPECT_EQ(architectureName(0x0200000C, 1), "arm64_32");
  EXPECT_EQ(architectureName(0x0100000C, 77), "(16777228:77)");
  EXPECT_EQ(architectureName(0xFFFFFFFF, 0), "(4294967295:0)");
}

struct Damage {
  const char* name;
  std::function<void(std::string&)> change;
};

std::size_t segmentOffset(const std::string& image, std::string_view name) {
  return parse(image).findSegment(name)->commandOffset;
}

/// The load command with 16 bytes, which is too short for all others that the reader knows.
std::size_t shortCommand(const std::string& image) {
  return machOCommandOffset(image, kMinimumVersionMacOS);
}

const Damage kDamages[] = {
    {"Magic", [](auto& i) { setMachOField(i, 0, 0xFEEDFACD); }},
    {"CommandsLongerThanTheImage", [](auto& i) { setMachOField(i, 20, i.size() - 31); }},
    {"CommandsOverflowing", [](auto& i) { setMachOField(i, 20, 0xFFFFFFFF); }},
    {"CommandsOneByteShort", [](auto& i) { setMachOField(i, 20, parse(i).commandsEnd - 33); }},
    {"CommandsOneByteLong", [](auto& i) { setMachOField(i, 20, parse(i).commandsEnd - 31); }},
    {"OneCommandMore", [](auto& i) { setMachOField(i, 16, parse(i).commandCount + 1); }},
    {"OneCommandFewer", [](auto& i) { setMachOField(i, 16, parse(i).commandCount - 1); }},
    {"CommandCountOverflowing", [](auto& i) { setMachOField(i, 16, 0xFFFFFFFF); }},
    {"CommandShorterThanItsHeader", [](auto& i) { setMachOField(i, 36, 7); }},
    {"EmptyCommand", [](auto& i) { setMachOField(i, 36, 0); }},
    {"CommandBeyondTheCommands", [](auto& i) { setMachOField(i, machOCommandOffset(i, kCodeSignature) + 4, 17); }},
    {"CommandOverflowing", [](auto& i) { setMachOField(i, 36, 0xFFFFFFF8); }},
    {"SegmentOneByteBeyond",
     [](auto& i) {
       const MachOSegment segment = *parse(i).findSegment("__LINKEDIT");
       setMachOField(i, segment.commandOffset + 48, segment.fileLength + 1, 8);
     }},
    {"SegmentOverflowing", [](auto& i) { setMachOField(i, segmentOffset(i, "__LINKEDIT") + 48, UINT64_MAX, 8); }},
    {"SegmentOffsetOverflowing", [](auto& i) { setMachOField(i, segmentOffset(i, "__TEXT") + 40, UINT64_MAX, 8); }},
    {"EmptySegmentBeyondTheImage",
     [](auto& i) { setMachOField(i, segmentOffset(i, "__PAGEZERO") + 40, i.size() + 1, 8); }},
    {"SegmentOfOtherWidth", [](auto& i) { setMachOField(i, segmentOffset(i, "__TEXT"), kSegment32); }},
    {"OneSectionMore", [](auto& i) { setMachOField(i, segmentOffset(i, "__TEXT") + 64, 3); }},
    {"SectionCountOverflowing", [](auto& i) { setMachOField(i, segmentOffset(i, "__TEXT") + 64, 0xFFFFFFFF); }},
    {"SectionBeyondTheImage", [](auto& i) { setMachOField(i, segmentOffset(i, "__TEXT") + 152 + 48, i.size() - 7); }},
    {"SectionOverflowing", [](auto& i) { setMachOField(i, segmentOffset(i, "__TEXT") + 152 + 40, UINT64_MAX, 8); }},
    {"StringTableBeyondTheImage",
     [](auto& i) { setMachOField(i, machOCommandOffset(i, kSymbolTable) + 16, i.size() - 7); }},
    {"StringTableOverflowing", [](auto& i) { setMachOField(i, machOCommandOffset(i, kSymbolTable) + 20, 0xFFFFFFFF); }},
    {"SignatureOneByteBeyond",
     [](auto& i) { setMachOField(i, parse(i).signature->commandOffset + 12, parse(i).signature->dataLength + 1); }},
    {"SignatureOverflowing", [](auto& i) { setMachOField(i, parse(i).signature->commandOffset + 12, 0xFFFFFFFF); }},
    {"SignatureBehindTheImage", [](auto& i) { setMachOField(i, parse(i).signature->commandOffset + 8, 0xFFFFFFFF); }},
    {"SignatureOverTheCommands",
     [](auto& i) { setMachOField(i, parse(i).signature->commandOffset + 8, parse(i).commandsEnd - 1); }},
    {"TwoSignatures",
     [](auto& i) {
       const std::size_t signature = parse(i).signature->commandOffset;
       i.replace(shortCommand(i), 16, i.substr(signature, 16));
     }},
    {"SignatureCommandOfOtherSize", [](auto& i) { setMachOField(i, machOCommandOffset(i, kUUID), kCodeSignature); }},
    {"ShortSegment", [](auto& i) { setMachOField(i, shortCommand(i), kSegment64); }},
    {"ShortSymbolTable", [](auto& i) { setMachOField(i, shortCommand(i), kSymbolTable); }},
    {"ShortUUID", [](auto& i) { setMachOField(i, shortCommand(i), kUUID); }},
    {"ShortBuildVersion", [](auto& i) { setMachOField(i, shortCommand(i), kBuildVersion); }},
};

std::string hostileSubject() {
  return MachOBuilder()
      .withInformation("<plist/>")
      .withVersionCommand(MachOVersionCommand::minimum)
      .withSignature("signature")
      .build();
}

class DamagedMachOImageTest : public ::testing::TestWithParam<Damage> {};

TEST_P(DamagedMachOImageTest, IsRefused) {
  std::string image = hostileSubject();
  ASSERT_FALSE(isRefused(image, image.size()));

  GetParam().change(image);

  EXPECT_TRUE(isRefused(image, image.size()));
}

INSTANTIATE_TEST_SUITE_P(Fields, DamagedMachOImageTest, ::testing::ValuesIn(kDamages),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(MachOImageTest, EveryShorterImageIsRefused) {
  const std::string image = hostileSubject();

  for (std::size_t length = 0; length < image.size(); ++length) {
    ASSERT_TRUE(isRefused(image.substr(0, length), length)) << length;
  }
}

TEST(MachOImageTest, EveryShorterHeaderIsRefused) {
  const std::string image = hostileSubject();
  const std::uint64_t headerLength = machOHeaderLength(image, image.size());

  for (std::size_t length = 0; length < headerLength; ++length) {
    ASSERT_TRUE(isRefused(image.substr(0, length), image.size())) << length;
  }
}

void expectInside(const MachOImage& image, std::uint64_t length) {
  for (const MachOSegment& segment : image.segments) {
    ASSERT_TRUE(segment.fileOffset <= segment.fileEnd() && segment.fileEnd() <= length);
    for (const MachOSection& section : segment.sections) {
      if (section.fileOffset == 0) continue;
      ASSERT_TRUE(section.length <= length && section.fileOffset <= length - section.length);
    }
  }
  if (image.signature) {
    ASSERT_TRUE(image.signature->dataOffset >= image.commandsEnd && image.signature->dataEnd() <= length);
  }
}

TEST(MachOImageTest, WithAnyByteChangedAnImageIsRefusedOrStaysInside) {
  const std::string image = hostileSubject();
  const std::uint64_t headerLength = machOHeaderLength(image, image.size());
  std::size_t accepted = 0;

  for (std::size_t offset = 0; offset < headerLength; ++offset) {
    for (const int change : {1, 0x80, 0xFF}) {
      std::string changed = image;
      changed[offset] = static_cast<char>(changed[offset] ^ change);
      if (isRefused(changed, changed.size())) continue;
      ASSERT_NO_FATAL_FAILURE(expectInside(parse(changed), changed.size())) << offset;
      ++accepted;
    }
  }

  EXPECT_GT(accepted, 0U);
}

}  // namespace
}  // namespace quillon
