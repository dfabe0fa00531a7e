#include <gtest/gtest.h>

#include <array>

#include "CodeSignature/MachOSignatureSpace.h"
#include "QuillonCore/Values/QuillonError.h"
#include "Support/MachOBuilder.h"

namespace quillon {
namespace {

using testing::MachOArchitecture;
using testing::MachOBuilder;

/// An image and what the space for its signature is found from.
struct SampleImage {
  explicit SampleImage(const MachOBuilder& builder) : bytes(builder.build()), length(bytes.size()) {
    image = parseMachOImage(bytes, length);
  }

  [[nodiscard]] MachOSignatureSpace space() const { return {image, bytes, length}; }
  [[nodiscard]] std::string refusal(std::uint64_t extent = 32) const {
    try {
      (void)space().headerFor(extent);
      return {};
    } catch (const QuillonError& error) {
      return error.description();
    }
  }

  [[nodiscard]] MachOSegment& segment(std::string_view name) {
    for (MachOSegment& candidate : image.segments) {
      if (candidate.name == name) return candidate;
    }
    throw std::logic_error("no such segment");
  }

  std::string bytes;
  std::uint64_t length;
  MachOImage image;
};

class MachOSignatureSpaceTest : public ::testing::TestWithParam<MachOArchitecture> {};

INSTANTIATE_TEST_SUITE_P(Architectures, MachOSignatureSpaceTest,
                         ::testing::Values(testing::kARM64, testing::kX86_64, testing::kI386, testing::kPowerPC),
                         [](const auto& test) { return architectureName(test.param.cpuType, test.param.cpuSubtype); });

TEST_P(MachOSignatureSpaceTest, CommandIsAppendedWhereThereIsNone) {
  const MachOBuilder builder(GetParam());
  const SampleImage sample(builder);
  const MachOSignatureSpace space = sample.space();

  const std::string header = space.headerFor(4800);

  const MachOImage signedImage = parseMachOImage(header, space.codeLimit() + 4800);
  EXPECT_EQ(header.size(), sample.image.commandsEnd + 16);
  EXPECT_EQ(signedImage.commandCount, sample.image.commandCount + 1);
  ASSERT_TRUE(signedImage.signature);
  EXPECT_EQ(signedImage.signature->commandOffset, sample.image.commandsEnd);
  EXPECT_EQ(signedImage.signature->dataOffset, builder.codeLimit());
  EXPECT_EQ(signedImage.signature->dataLength, 4800U);
  EXPECT_EQ(space.codeLimit(), builder.codeLimit());
  EXPECT_EQ(space.contentEnd(), sample.length);
}

TEST_P(MachOSignatureSpaceTest, LinkEditSegmentGrowsByTheSignature) {
  const SampleImage sample{MachOBuilder(GetParam())};
  const MachOSignatureSpace space = sample.space();

  const MachOImage signedImage = parseMachOImage(space.headerFor(4800), space.codeLimit() + 4800);

  const MachOSegment& before = *sample.image.findSegment("__LINKEDIT");
  const MachOSegment& after = *signedImage.findSegment("__LINKEDIT");
  EXPECT_EQ(after.fileOffset, before.fileOffset);
  EXPECT_EQ(after.address, before.address);
  EXPECT_EQ(after.fileEnd(), space.codeLimit() + 4800);
  EXPECT_EQ(after.memoryLength, GetParam().cpuType == testing::kARM64.cpuType ? 0x4000U : 0x2000U);
}

TEST_P(MachOSignatureSpaceTest, NothingElseOfTheHeaderChanges) {
  const SampleImage sample{MachOBuilder(GetParam())};
  const std::uint64_t linkEdit = sample.image.findSegment("__LINKEDIT")->commandOffset;

  const std::string header = sample.space().headerFor(4800);

  for (std::size_t i = 0; i < sample.image.commandsEnd; ++i) {
    const bool isCount = i >= 16 && i < 24;
    const bool isLinkEditLength = i >= linkEdit + 24 && i < linkEdit + 56;
    if (isCount || isLinkEditLength) continue;
    EXPECT_EQ(header[i], sample.bytes[i]) << i;
  }
}

TEST_P(MachOSignatureSpaceTest, PresentSignatureIsReplaced) {
  const MachOBuilder unsignedBuilder(GetParam());
  const SampleImage sample{MachOBuilder(GetParam()).withSignature(std::string(9000, 's'))};
  const MachOSignatureSpace space = sample.space();

  const std::string header = space.headerFor(32);

  const MachOImage signedImage = parseMachOImage(header, space.codeLimit() + 32);
  EXPECT_EQ(header.size(), sample.image.commandsEnd);
  EXPECT_EQ(space.contentEnd(), sample.image.signature->dataOffset);
  EXPECT_EQ(space.codeLimit(), unsignedBuilder.codeLimit());
  EXPECT_EQ(signedImage.signature->dataOffset, space.codeLimit());
  EXPECT_EQ(signedImage.signature->dataLength, 32U);
  EXPECT_EQ(signedImage.findSegment("__LINKEDIT")->fileEnd(), space.codeLimit() + 32);
}

TEST(MachOSignatureSpaceRefusalTest, CommandWithoutSignatureBytesIsFilled) {
  const SampleImage sample{MachOBuilder().withSignature("")};

  const MachOSignatureSpace space = sample.space();

  EXPECT_EQ(space.contentEnd(), sample.length);
  EXPECT_EQ(parseMachOImage(space.headerFor(32), space.codeLimit() + 32).signature->dataLength, 32U);
}

TEST(MachOSignatureSpaceRefusalTest, ExtentIsAMultipleOfSixteen) {
  EXPECT_EQ(MachOSignatureSpace::extentOf(0), 0U);
  EXPECT_EQ(MachOSignatureSpace::extentOf(1), 16U);
  EXPECT_EQ(MachOSignatureSpace::extentOf(16), 16U);
  EXPECT_EQ(MachOSignatureSpace::extentOf(17), 32U);
}

TEST(MachOSignatureSpaceRefusalTest, HeaderWithoutSpaceIsRefused) {
  EXPECT_EQ(SampleImage{MachOBuilder().withFreeHeaderSpace(15)}.refusal(),
            "The image cannot be signed: its header has 15 unused bytes, and the signature command needs 16; "
            "link it with more header padding");
  EXPECT_EQ(SampleImage{MachOBuilder().withFreeHeaderSpace(16)}.refusal(), "");
}

TEST(MachOSignatureSpaceRefusalTest, SpaceThatHoldsSomethingIsRefused) {
  SampleImage sample{MachOBuilder().withFreeHeaderSpace(32)};
  const std::string refusal =
      "The image cannot be signed: the bytes behind its load commands are in use, and the signature command needs them";

  sample.bytes[sample.image.commandsEnd + 15] = 'x';
  EXPECT_EQ(sample.refusal(), refusal);
  sample.bytes.resize(sample.image.commandsEnd + 15);
  EXPECT_EQ(sample.refusal(), refusal);
}

TEST(MachOSignatureSpaceRefusalTest, ImageWithoutLinkEditSegmentIsRefused) {
  EXPECT_EQ(SampleImage{MachOBuilder().withoutLinkEdit()}.refusal(),
            "The image cannot be signed: it has no __LINKEDIT segment, where the signature belongs");
}

TEST(MachOSignatureSpaceRefusalTest, BytesBehindTheLinkEditSegmentAreRefused) {
  SampleImage sample{MachOBuilder()};
  ++sample.length;

  EXPECT_EQ(sample.refusal(), "The image cannot be signed: bytes follow its __LINKEDIT segment");
}

TEST(MachOSignatureSpaceRefusalTest, SegmentBehindTheLinkEditSegmentIsRefused) {
  SampleImage sample{MachOBuilder()};
  sample.segment("__DATA").fileLength = 1;

  EXPECT_EQ(sample.refusal(), "The image cannot be signed: its __LINKEDIT segment is not the last");
}

TEST(MachOSignatureSpaceRefusalTest, SignatureInTheMiddleOfTheLinkEditSegmentIsRefused) {
  SampleImage sample{MachOBuilder().withSignature(std::string(64, 's'))};
  const std::string refusal =
      "The image cannot be signed: its signature does not stand at the end of the __LINKEDIT segment";

  sample.image.signature->dataLength -= 16;
  EXPECT_EQ(sample.refusal(), refusal);
  sample.image.signature->dataOffset = sample.image.findSegment("__LINKEDIT")->fileOffset - 16;
  sample.image.signature->dataLength = sample.length - sample.image.signature->dataOffset;
  EXPECT_EQ(sample.refusal(), refusal);
}

TEST(MachOSignatureSpaceRefusalTest, LoadCommandsInsideTheContentAreRefused) {
  SampleImage sample{MachOBuilder().withSignature(std::string(64, 's'))};
  sample.segment("__TEXT").sections.front().fileOffset = sample.image.commandsEnd - 1;

  EXPECT_EQ(sample.refusal(), "The image cannot be signed: its load commands run into its content");
}

TEST(MachOSignatureSpaceRefusalTest, SegmentInTheMemoryBehindIsNotRunInto) {
  SampleImage sample{MachOBuilder()};
  const std::uint64_t address = sample.image.findSegment("__LINKEDIT")->address;
  sample.segment("__DATA").address = address + 0x4000;

  EXPECT_EQ(sample.refusal(0x3F00), "");
  EXPECT_EQ(sample.refusal(0x4000),
            "The image cannot be signed: its __LINKEDIT segment has no room to grow before __DATA");
}

TEST(MachOSignatureSpaceRefusalTest, NumbersThatTheFormatCannotHoldAreRefused) {
  SampleImage large{MachOBuilder()};
  large.length = std::uint64_t{1} << 32;
  large.segment("__LINKEDIT").fileLength = large.length - large.image.findSegment("__LINKEDIT")->fileOffset;
  EXPECT_EQ(large.refusal(), "The image cannot be signed: it is longer than 4 GiB");
  EXPECT_EQ(SampleImage{MachOBuilder()}.refusal(std::uint64_t{1} << 32),
            "The image cannot be signed: it is longer than 4 GiB");
  const SampleImage small{MachOBuilder(testing::kI386)};
  EXPECT_EQ(small.refusal((std::uint64_t{1} << 32) - small.space().codeLimit()),
            "The image cannot be signed: it is longer than 4 GiB");

  const std::string refusal = "The image cannot be signed: its __LINKEDIT segment leaves the address space";
  SampleImage high32{MachOBuilder(testing::kI386)};
  high32.segment("__LINKEDIT").address = 0xFFFFF000;
  EXPECT_EQ(high32.refusal(), refusal);
  SampleImage high64{MachOBuilder()};
  high64.segment("__LINKEDIT").address = UINT64_MAX - 0xFFF;
  EXPECT_EQ(high64.refusal(), refusal);
}

}  // namespace
}  // namespace quillon
