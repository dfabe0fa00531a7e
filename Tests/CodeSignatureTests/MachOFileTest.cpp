#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <functional>

#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/MachOFile.h"
#include "QuillonCore/Values/QuillonError.h"
#include "Support/MachOBuilder.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using namespace std::string_literals;
using testing::buildUniversalFile;
using testing::buildUniversalFileHidingLast;
using testing::kARM64;
using testing::kI386;
using testing::kPowerPC;
using testing::kX86_64;
using testing::MachOArchitecture;
using testing::MachOBuilder;
using testing::machOCommandOffset;
using testing::setMachOField;
using testing::setUniversalField;
using enum CodeSignatureErrorCode;

constexpr MachOArchitecture kARM64e{0x0100000C, 2, true, false};
constexpr MachOArchitecture kX86_64h{0x01000007, 8, true, false};
constexpr std::size_t kFirstEntry = 8;
constexpr std::size_t kSecondEntry = 28;
// Offsets in an entry of the universal header.
constexpr std::size_t kCPUType = 0;
constexpr std::size_t kCPUSubtype = 4;
constexpr std::size_t kOffset = 8;
constexpr std::size_t kLength = 12;
constexpr std::size_t kAlignment = 16;

std::string signedImage(const MachOArchitecture& architecture) {
  return MachOBuilder(architecture).withSignature("0123456789").build();
}

std::string universal() {
  return buildUniversalFile({signedImage(kX86_64), signedImage(kARM64)});
}

class MachOFileTest : public ::testing::Test {
 protected:
  FileDescriptor fileOf(const std::string& content) {
    const std::filesystem::path path = folder_ / "object";
    testing::writeFile(path, content);
    return FileDescriptor(open(path.c_str(), O_RDWR | O_CLOEXEC));
  }

  MachOFile read(const std::string& content) { return readMachOFile(fileOf(content)); }

  std::optional<CodeSignatureErrorCode> errorOf(const std::string& content) {
    const FileDescriptor file = fileOf(content);
    try {
      checkMachOLayout(readMachOFile(file), file);
      return std::nullopt;
    } catch (const CodeSignatureError& error) {
      return error.code();
    }
  }

  bool isMachO(const std::string& content) { return isMachOFile(fileOf(content)); }

  testing::TemporaryDirectory folder_;
};

TEST_F(MachOFileTest, AThinFileIsOneSlice) {
  const std::string content = signedImage(kARM64);

  const MachOFile object = read(content);

  ASSERT_EQ(object.slices.size(), 1U);
  EXPECT_FALSE(object.isUniversal);
  EXPECT_EQ(object.length, content.size());
  EXPECT_EQ(object.slices[0].offset, 0U);
  EXPECT_EQ(object.slices[0].end(), content.size());
  EXPECT_EQ(object.slices[0].architecture(), "arm64");
  EXPECT_EQ(object.formatName(), "Mach-O thin (arm64)");
  EXPECT_EQ(errorOf(content), std::nullopt);
}

TEST_F(MachOFileTest, AUniversalFileHasASlicePerArchitecture) {
  const std::string first = signedImage(kPowerPC);
  const std::string second = signedImage(kARM64e);
  const std::string content = buildUniversalFile({first, second}, 14);

  const MachOFile object = read(content);

  ASSERT_EQ(object.slices.size(), 2U);
  EXPECT_TRUE(object.isUniversal);
  EXPECT_EQ(object.formatName(), "Mach-O universal (ppc arm64e)");
  EXPECT_EQ(object.slices[0].offset, 16384U);
  EXPECT_EQ(object.slices[0].length, first.size());
  EXPECT_EQ(object.slices[0].alignment, 14U);
  EXPECT_EQ(content.substr(object.slices[1].offset, object.slices[1].length), second);
  EXPECT_EQ(errorOf(content), std::nullopt);
}

TEST_F(MachOFileTest, AnUncountedSliceForARM64IsTaken) {
  const std::string content =
      buildUniversalFileHidingLast({signedImage(kI386), signedImage(kX86_64), signedImage(kARM64)});

  EXPECT_EQ(read(content).formatName(), "Mach-O universal (i386 x86_64 arm64)");
  EXPECT_EQ(errorOf(content), std::nullopt);
}

TEST_F(MachOFileTest, AnUncountedSliceForAnotherArchitectureIsForeignData) {
  const std::string content = buildUniversalFileHidingLast({signedImage(kARM64), signedImage(kX86_64)});

  EXPECT_EQ(read(content).formatName(), "Mach-O universal (arm64)");
  EXPECT_EQ(errorOf(content), mainExecutableInvalid);
}

TEST_F(MachOFileTest, SlicesMayStandInAnyOrder) {
  std::string content = universal();
  const std::string entry = content.substr(kFirstEntry, 20);
  content.replace(kFirstEntry, 20, content.substr(kSecondEntry, 20));
  content.replace(kSecondEntry, 20, entry);

  EXPECT_EQ(read(content).formatName(), "Mach-O universal (arm64 x86_64)");
  EXPECT_EQ(errorOf(content), std::nullopt);
}

TEST_F(MachOFileTest, NativeSliceIsThisMachinesOwn) {
#if defined(__aarch64__)
  const MachOArchitecture native = kARM64;
  const MachOArchitecture variant = kARM64e;
#else
  const MachOArchitecture native = kX86_64;
  const MachOArchitecture variant = kX86_64h;
#endif
  const auto nativeSliceOf = [this](const std::vector<MachOArchitecture>& architectures) {
    std::vector<std::string> images;
    images.reserve(architectures.size());
    for (const MachOArchitecture& architecture : architectures) images.push_back(signedImage(architecture));
    return read(buildUniversalFile(images)).nativeSlice();
  };

  EXPECT_EQ(nativeSliceOf({kI386, native}), 1U);
  EXPECT_EQ(nativeSliceOf({kI386, variant, native, kPowerPC}), 2U);
  EXPECT_EQ(nativeSliceOf({kI386, variant}), 1U);
  EXPECT_EQ(nativeSliceOf({kI386, kPowerPC}), 0U);
}

TEST_F(MachOFileTest, CodeIsRecognizedByItsFileType) {
  std::string image = signedImage(kARM64);
  for (const std::uint32_t type : {2U, 5U, 6U, 7U, 8U, 11U}) {
    setMachOField(image, 12, type);
    EXPECT_TRUE(isMachO(image)) << type;
    EXPECT_TRUE(isMachO(buildUniversalFile({image}))) << type;
  }
  for (const std::uint32_t type : {1U, 4U, 10U}) {  // an object of the compiler, a core dump, debug symbols
    setMachOField(image, 12, type);
    EXPECT_FALSE(isMachO(image)) << type;
    EXPECT_FALSE(isMachO(buildUniversalFile({image}))) << type;
    EXPECT_EQ(errorOf(image), badObjectFormat) << type;
  }
}

TEST_F(MachOFileTest, OtherFilesAreNotRecognized) {
  std::string universal64 = universal();
  setUniversalField(universal64, 0, 0xCAFEBABF);
  std::string manySlices = universal();
  setUniversalField(manySlices, 4, 101);

  EXPECT_FALSE(isMachO(""));
  EXPECT_FALSE(isMachO("#!/bin/sh\nexit 0\n"));
  EXPECT_FALSE(isMachO(signedImage(kX86_64).substr(0, 15)));
  EXPECT_FALSE(isMachO(universal().substr(0, 27)));
  EXPECT_FALSE(isMachO(universal64));
  EXPECT_FALSE(isMachO(manySlices));
  EXPECT_FALSE(isMachO("\xCA\xFE\xBA\xBE\0\0\0\x41\0\x1D\x0A\0\x02\0\x03\7\0\4\x0C\0\5\0\6\1\0\x10"s));  // a Java class
}

TEST_F(MachOFileTest, WhatCannotBeReadIsAnErrorOfTheSystem) {
  const FileDescriptor folder = openFolder(AT_FDCWD, folder_.path().string());

  EXPECT_THROW((void)isMachOFile(folder), QuillonSystemError);
  EXPECT_THROW((void)readMachOFile(folder), QuillonSystemError);
  EXPECT_THROW((void)readMachOFile(FileDescriptor()), QuillonSystemError);
}

TEST_F(MachOFileTest, HeadersOfAllSlicesTogetherHaveALimit) {
  constexpr std::size_t kCommandsLength = 9 << 20;
  const auto imageWithLargeHeader = [](const MachOArchitecture& architecture) {
    std::string image = signedImage(architecture).substr(0, 32);
    setMachOField(image, 16, 1);
    setMachOField(image, 20, kCommandsLength);
    image.resize(32 + kCommandsLength);
    setMachOField(image, 32, 0x26);  // a command that the reader has no interest in
    setMachOField(image, 36, kCommandsLength);
    return image;
  };
  const std::string first = imageWithLargeHeader(kX86_64);
  const std::string second = imageWithLargeHeader(kARM64);

  EXPECT_EQ(read(first).slices.size(), 1U);
  EXPECT_EQ(errorOf(buildUniversalFile({first, second})), badObjectFormat);
}

TEST_F(MachOFileTest, EveryShorterFileIsRefused) {
  for (const std::string& content : {universal(), signedImage(kI386)}) {
    const FileDescriptor file = fileOf(content);
    for (std::size_t length = content.size(); length-- > 0;) {
      ASSERT_EQ(ftruncate(file.get(), static_cast<off_t>(length)), 0);
      ASSERT_THROW((void)readMachOFile(file), CodeSignatureError) << length;
    }
  }
}

struct MachOFileDamage {
  const char* name;
  std::function<void(std::string&)> change;
  CodeSignatureErrorCode expected;
};

const MachOFileDamage kUniversalDamages[] = {
    {"NoSlice", [](auto& f) { setUniversalField(f, 4, 0); }, badObjectFormat},
    {"TooManySlices", [](auto& f) { setUniversalField(f, 4, 101); }, badObjectFormat},
    {"CountBeyondTheEntries", [](auto& f) { setUniversalField(f, 4, 3); }, badObjectFormat},
    {"OtherMagic", [](auto& f) { setUniversalField(f, 0, 0xCAFEBABF); }, badObjectFormat},
    {"OtherCPUType", [](auto& f) { setUniversalField(f, kFirstEntry + kCPUType, 7); }, badObjectFormat},
    {"OtherCPUSubtype", [](auto& f) { setUniversalField(f, kFirstEntry + kCPUSubtype, 8); }, badObjectFormat},
    {"SliceBeyondTheFile",
     [](auto& f) { setUniversalField(f, kSecondEntry + kOffset, static_cast<std::uint32_t>(f.size())); },
     badObjectFormat},
    {"OffsetOverflowing", [](auto& f) { setUniversalField(f, kSecondEntry + kOffset, 0xFFFFFFFF); }, badObjectFormat},
    {"LengthOverflowing", [](auto& f) { setUniversalField(f, kSecondEntry + kLength, 0xFFFFFFFF); }, badObjectFormat},
    {"OverlappingSlices", [](auto& f) { setUniversalField(f, kFirstEntry + kLength, 12289 - 4096); }, badObjectFormat},
    {"SliceInsideTheHeader", [](auto& f) { setUniversalField(f, kFirstEntry + kOffset, 47); }, badObjectFormat},
    {"OneOffsetTwice", [](auto& f) { setUniversalField(f, kSecondEntry + kOffset, 4096); }, badObjectFormat},
    {"EmptySlice", [](auto& f) { setUniversalField(f, kFirstEntry + kLength, 0); }, badObjectFormat},
    {"NonsensicalAlignment", [](auto& f) { setUniversalField(f, kFirstEntry + kAlignment, 32); }, badObjectFormat},
    {"OneArchitectureTwice",
     [](auto& f) {
       f = buildUniversalFile({signedImage(kI386), signedImage(kX86_64), signedImage(kX86_64)});
     },
     badObjectFormat},
    {"UncountedSliceOfACountedArchitecture",
     [](auto& f) {
       f = buildUniversalFileHidingLast({signedImage(kARM64), signedImage(kARM64)});
     },
     badObjectFormat},
    {"SliceThatIsNoImage", [](auto& f) { f[4096] = '#'; }, badObjectFormat},
    {"SecondSliceThatIsNoCode", [](auto& f) { setMachOField(f, 12288 + 12, 1); }, badObjectFormat},
    {"ByteBehindTheLastSlice", [](auto& f) { f += '\0'; }, mainExecutableInvalid},
    {"DataBehindTheHeader", [](auto& f) { f[48] = 1; }, mainExecutableInvalid},
    {"DataBeforeTheFirstSlice", [](auto& f) { f[4095] = 1; }, mainExecutableInvalid},
    {"DataBetweenSlices", [](auto& f) { f[12287] = 1; }, mainExecutableInvalid},
    {"GapLargerThanTheAlignment", [](auto& f) { setUniversalField(f, kSecondEntry + kAlignment, 4); },
     mainExecutableInvalid},
    {"SliceThatGoesOnBehindItsImage", [](auto& f) { setUniversalField(f, kFirstEntry + kLength, 12288 - 4096); },
     mainExecutableInvalid},
};

class DamagedUniversalFileTest : public MachOFileTest, public ::testing::WithParamInterface<MachOFileDamage> {};

TEST_P(DamagedUniversalFileTest, IsRefused) {
  std::string content = universal();
  ASSERT_EQ(read(content).slices[1].offset, 12288U);
  ASSERT_EQ(errorOf(content), std::nullopt);

  GetParam().change(content);

  EXPECT_EQ(errorOf(content), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Fields, DamagedUniversalFileTest, ::testing::ValuesIn(kUniversalDamages),
                         [](const auto& test) { return std::string(test.param.name); });

std::size_t linkEditOffset(const std::string& image) {
  return parseMachOImage(image, image.size()).findSegment("__LINKEDIT")->commandOffset;
}

const MachOFileDamage kLayoutDamages[] = {
    {"ByteBehindTheImage", [](auto& f) { f += '\0'; }, mainExecutableInvalid},
    {"LinkEditOneByteShort",
     [](auto& f) {
       const std::size_t command = linkEditOffset(f);
       setMachOField(f, command + 48, f.size() - 4096 - 1, 8);
     },
     mainExecutableInvalid},
    {"SignatureOneByteShort", [](auto& f) { setMachOField(f, machOCommandOffset(f, 0x1D) + 12, 9); },
     mainExecutableInvalid},
    {"EmptySignatureBeforeTheEnd", [](auto& f) { setMachOField(f, machOCommandOffset(f, 0x1D) + 12, 0); },
     mainExecutableInvalid},
    {"SignatureThatBeginsBeforeTheLinkEditSegment",
     [](auto& f) {
       setMachOField(f, machOCommandOffset(f, 0x1D) + 8, 4095);
       setMachOField(f, machOCommandOffset(f, 0x1D) + 12, f.size() - 4095);
     },
     mainExecutableInvalid},
    {"SegmentOverTheSignature",
     [](auto& f) {
       const std::size_t data = parseMachOImage(f, f.size()).findSegment("__DATA")->commandOffset;
       setMachOField(f, data + 48, 33, 8);
     },
     mainExecutableInvalid},
    {"SignatureWithoutLinkEdit", [](auto& f) { f.replace(linkEditOffset(f) + 8, 10, "__OTHEREDI"); },
     mainExecutableInvalid},
    {"NeitherLinkEditNorSymbols",
     [](auto& f) {
       f = MachOBuilder().withoutLinkEdit().build();
       setMachOField(f, machOCommandOffset(f, 2), 0x26);
     },
     mainExecutableInvalid},
    {"ByteBehindTheSymbols", [](auto& f) { f = MachOBuilder().withoutLinkEdit().build() + '\0'; },
     mainExecutableInvalid},
};

class DamagedImageLayoutTest : public MachOFileTest, public ::testing::WithParamInterface<MachOFileDamage> {};

TEST_P(DamagedImageLayoutTest, IsRefused) {
  std::string content = signedImage(kARM64);
  ASSERT_EQ(errorOf(content), std::nullopt);

  GetParam().change(content);

  ASSERT_NO_THROW((void)read(content));
  EXPECT_EQ(errorOf(content), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Fields, DamagedImageLayoutTest, ::testing::ValuesIn(kLayoutDamages),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_F(MachOFileTest, SoundLayoutsOfEveryKindPass) {
  std::string withLargeFirstGap = buildUniversalFile({signedImage(kARM64)}, 16);
  setUniversalField(withLargeFirstGap, kFirstEntry + kAlignment, 2);
  std::string withSegmentUpToTheSignature = signedImage(kARM64);
  const std::size_t data = parseMachOImage(withSegmentUpToTheSignature, 1 << 20).findSegment("__DATA")->commandOffset;
  setMachOField(withSegmentUpToTheSignature, data + 48, 32, 8);

  EXPECT_EQ(errorOf(MachOBuilder().build()), std::nullopt);
  EXPECT_EQ(errorOf(MachOBuilder().withoutLinkEdit().build()), std::nullopt);
  EXPECT_EQ(errorOf(MachOBuilder().withPages(30).withSignature("s").build()), std::nullopt);
  EXPECT_EQ(errorOf(withLargeFirstGap), std::nullopt);
  EXPECT_EQ(errorOf(withSegmentUpToTheSignature), std::nullopt);
}

}  // namespace
}  // namespace quillon
