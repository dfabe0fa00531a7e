#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "CodeSignature/BlobBuilder.h"
#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/EmbeddedSignature.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::string blob(std::uint32_t magic, std::string_view content) {
  return BlobBuilder().u32(magic).u32(static_cast<std::uint32_t>(8 + content.size())).bytes(content).blob();
}

std::map<CodeSlot, std::string> sampleParts() {
  return {{CodeSlot::codeDirectory, blob(0xFADE0C02, "directory")},
          {CodeSlot::requirements, blob(0xFADE0C01, "need")},
          {CodeSlot::representationSpecific, "specific"},
          {CodeSlot::entitlementsDER, blob(0xFADE7172, "")},
          {CodeSlot::alternateCodeDirectory, blob(0xFADE0C02, "another")},
          {CodeSlot::signature, "CMS"}};
}

void setField(std::string& bytes, std::size_t offset, std::uint32_t value) {
  bytes.replace(offset, 4, BlobBuilder().u32(value).blob());
}

bool isRefused(const std::string& bytes) {
  try {
    (void)EmbeddedSignature::parse(bytes);
    return false;
  } catch (const CodeSignatureError& error) {
    EXPECT_EQ(error.code(), CodeSignatureErrorCode::signatureInvalid);
    return true;
  }
}

TEST(EmbeddedSignatureTest, WhatIsBuiltIsReadBack) {
  const std::map<CodeSlot, std::string> parts = sampleParts();

  const EmbeddedSignature signature = EmbeddedSignature::parse(buildEmbeddedSignature(parts));

  EXPECT_THAT(signature.slots(),
              ElementsAre(CodeSlot::codeDirectory, CodeSlot::requirements, CodeSlot::representationSpecific,
                          CodeSlot::entitlementsDER, CodeSlot::alternateCodeDirectory, CodeSlot::signature));
  for (const auto& [slot, part] : parts) EXPECT_EQ(signature.part(slot), part);
  EXPECT_EQ(signature.part(CodeSlot::entitlements), std::nullopt);
}

TEST(EmbeddedSignatureTest, PartsThatAreNoBlobsAreWrapped) {
  const std::string bytes = buildEmbeddedSignature({{CodeSlot::signature, "CMS"}});

  EXPECT_EQ(bytes,
            BlobBuilder().u32(0xFADE0CC0).u32(31).u32(1).u32(0x10000).u32(20).bytes(blob(0xFADE0B01, "CMS")).blob());
}

TEST(EmbeddedSignatureTest, AnEmptyWrapperIsAnEmptyPart) {
  const std::string bytes = buildEmbeddedSignature({{CodeSlot::signature, ""}});

  EXPECT_EQ(EmbeddedSignature::parse(bytes).part(CodeSlot::signature), "");
}

TEST(EmbeddedSignatureTest, AnEmptyIndexHasNoPart) {
  const EmbeddedSignature signature = EmbeddedSignature::parse(buildEmbeddedSignature({}));

  EXPECT_THAT(signature.slots(), IsEmpty());
  EXPECT_EQ(signature.part(CodeSlot::codeDirectory), std::nullopt);
}

TEST(EmbeddedSignatureTest, UnreasonableNumberOfEntriesIsRefused) {
  std::map<CodeSlot, std::string> parts;
  for (std::uint32_t slot = 0; slot < 256; ++slot) parts[static_cast<CodeSlot>(0x20000 + slot)] = "";
  EXPECT_FALSE(isRefused(buildEmbeddedSignature(parts)));
  parts[static_cast<CodeSlot>(0x30000)] = "";
  EXPECT_TRUE(isRefused(buildEmbeddedSignature(parts)));
}

TEST(EmbeddedSignatureTest, AnEntryWithoutOffsetIsAbsent) {
  std::string bytes = buildEmbeddedSignature(sampleParts());
  const std::string part = sampleParts().at(CodeSlot::requirements);
  bytes.replace(bytes.find(part), part.size(), part.size(), '\0');
  setField(bytes, 12 + 8 + 4, 0);

  const EmbeddedSignature signature = EmbeddedSignature::parse(bytes);

  EXPECT_EQ(signature.part(CodeSlot::requirements), std::nullopt);
  EXPECT_EQ(signature.slots().size(), 5U);
}

TEST(EmbeddedSignatureTest, BytesThatNoEntryLeadsToAreRefused) {
  std::string bytes = buildEmbeddedSignature(sampleParts());
  setField(bytes, 12 + 8 + 4, 0);

  EXPECT_TRUE(isRefused(bytes));
}

/// Two blobs in an order of their own, with `gap` behind the index and between them.
std::string spacedSignature(std::string_view gap) {
  const std::string directory = blob(0xFADE0C02, "main");
  const std::string requirements = blob(0xFADE0C01, "rr");
  const auto first = static_cast<std::uint32_t>(28 + gap.size());
  const auto second = static_cast<std::uint32_t>(first + directory.size() + gap.size());
  return BlobBuilder()
      .u32(0xFADE0CC0)
      .u32(static_cast<std::uint32_t>(second + requirements.size()))
      .u32(2)
      .u32(2)
      .u32(second)
      .u32(0)
      .u32(first)
      .bytes(gap)
      .bytes(directory)
      .bytes(gap)
      .bytes(requirements)
      .blob();
}

TEST(EmbeddedSignatureTest, BlobsMayStandInAnyOrderAndApart) {
  const EmbeddedSignature signature = EmbeddedSignature::parse(spacedSignature({"\0\0\0", 3}));

  EXPECT_EQ(signature.part(CodeSlot::codeDirectory), blob(0xFADE0C02, "main"));
  EXPECT_EQ(signature.part(CodeSlot::requirements), blob(0xFADE0C01, "rr"));
}

TEST(EmbeddedSignatureTest, NothingIsHiddenBetweenBlobs) {
  EXPECT_TRUE(isRefused(spacedSignature({"\0\0\1", 3})));
  EXPECT_TRUE(isRefused(spacedSignature("gap")));
}

TEST(EmbeddedSignatureTest, PaddingIsZero) {
  const std::string bytes = buildEmbeddedSignature(sampleParts());

  EXPECT_FALSE(isRefused(bytes + std::string(1000, '\0')));
  EXPECT_TRUE(isRefused(bytes + std::string(999, '\0') + '\1'));
  EXPECT_TRUE(isRefused(bytes + ' '));
}

TEST(EmbeddedSignatureTest, AnUnwrappedPartIsRefusedWhenItIsAskedFor) {
  std::string bytes = buildEmbeddedSignature({{CodeSlot::signature, "CMS"}, {CodeSlot::requirements, blob(1, "")}});
  setField(bytes, bytes.size() - 11, 0xFADE0B02);

  const EmbeddedSignature signature = EmbeddedSignature::parse(bytes);

  EXPECT_EQ(signature.part(CodeSlot::requirements), blob(1, ""));
  EXPECT_THROW((void)signature.part(CodeSlot::signature), CodeSignatureError);
}

TEST(EmbeddedSignatureTest, OnlyBlobsAreBuiltIntoSlotsOfBlobs) {
  for (const std::string& part : {std::string(), std::string("short"), blob(0xFADE0C02, "x") + "y"}) {
    EXPECT_THROW((void)buildEmbeddedSignature({{CodeSlot::codeDirectory, part}}), CodeSignatureError);
    EXPECT_NO_THROW((void)buildEmbeddedSignature({{CodeSlot::signature, part}}));
  }
}

constexpr std::size_t kFirstOffset = 16;
constexpr std::size_t kSecondSlot = 20;
constexpr std::size_t kSecondOffset = 24;
constexpr std::size_t kIndexEnd = 12 + 6 * 8;

struct IndexDamage {
  const char* name;
  std::function<void(std::string&)> change;
};

const IndexDamage kIndexDamages[] = {
    {"Magic", [](auto& b) { setField(b, 0, 0xFADE0CC1); }},
    {"LengthBeyondTheExtent", [](auto& b) { setField(b, 4, static_cast<std::uint32_t>(b.size() + 1)); }},
    {"LengthOneByteShort", [](auto& b) { setField(b, 4, static_cast<std::uint32_t>(b.size() - 1)); }},
    {"LengthOverflowing", [](auto& b) { setField(b, 4, 0xFFFFFFFF); }},
    {"LengthShorterThanTheHeader", [](auto& b) { b = buildEmbeddedSignature({}), setField(b, 4, 11); }},
    {"OneEntryMore", [](auto& b) { setField(b, 8, 7); }},
    {"CountOverflowing", [](auto& b) { setField(b, 8, 0xFFFFFFFF); }},
    {"CountThatWrapsTo32Bits", [](auto& b) { setField(b, 8, 0x20000000); }},
    {"BlobOverTheIndex", [](auto& b) { setField(b, kFirstOffset, kIndexEnd - 1); }},
    {"BlobBeyondTheSuperBlob", [](auto& b) { setField(b, kFirstOffset, static_cast<std::uint32_t>(b.size() - 7)); }},
    {"BlobOffsetOverflowing", [](auto& b) { setField(b, kFirstOffset, 0xFFFFFFFC); }},
    {"BlobLengthShorterThanItsHeader", [](auto& b) { setField(b, kIndexEnd + 4, 7); }},
    {"BlobLengthOverflowing", [](auto& b) { setField(b, kIndexEnd + 4, 0xFFFFFFFF); }},
    {"OverlappingBlobs", [](auto& b) { setField(b, kIndexEnd + 4, 8 + 9 + 1); }},
    {"OneBlobForTwoSlots", [](auto& b) { setField(b, kSecondOffset, kIndexEnd); }},
    {"OneSlotTwice", [](auto& b) { setField(b, kSecondSlot, 0); }},
    {"OneSlotTwiceOnceAbsent",
     [](auto& b) {
       setField(b, kSecondSlot, 0);
       setField(b, kSecondOffset, 0);
     }},
};

class DamagedEmbeddedSignatureTest : public ::testing::TestWithParam<IndexDamage> {};

TEST_P(DamagedEmbeddedSignatureTest, IsRefused) {
  std::string bytes = buildEmbeddedSignature(sampleParts());
  ASSERT_FALSE(isRefused(bytes));

  GetParam().change(bytes);

  EXPECT_TRUE(isRefused(bytes));
}

INSTANTIATE_TEST_SUITE_P(Fields, DamagedEmbeddedSignatureTest, ::testing::ValuesIn(kIndexDamages),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(EmbeddedSignatureTest, EveryShorterSignatureIsRefused) {
  const std::string bytes = buildEmbeddedSignature(sampleParts());

  for (std::size_t length = 0; length < bytes.size(); ++length) {
    ASSERT_TRUE(isRefused(bytes.substr(0, length))) << length;
  }
}

TEST(EmbeddedSignatureTest, WithAnyByteOfTheIndexChangedItIsRefusedOrDiffers) {
  const std::string bytes = buildEmbeddedSignature(sampleParts());

  for (std::size_t offset = 0; offset < kIndexEnd; ++offset) {
    for (const int change : {1, 0x80, 0xFF}) {
      std::string changed = bytes;
      changed[offset] = static_cast<char>(changed[offset] ^ change);
      if (isRefused(changed)) continue;
      const EmbeddedSignature signature = EmbeddedSignature::parse(changed);
      ASSERT_NE(signature.slots(), EmbeddedSignature::parse(bytes).slots()) << offset;
    }
  }
}

}  // namespace
}  // namespace quillon
