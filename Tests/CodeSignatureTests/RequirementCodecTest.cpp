#include <gtest/gtest.h>

#include "CodeSignature/BlobBuilder.h"
#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/RequirementCodec.h"

namespace quillon {
namespace {

using enum CodeSignatureErrorCode;

std::string blobOf(const BlobBuilder& code, std::uint32_t kind = 1) {
  BlobBuilder blob;
  blob.u32(0xFADE0C00).u32(static_cast<std::uint32_t>(12 + code.size())).u32(kind).bytes(code.blob());
  return blob.blob();
}

std::optional<CodeSignatureErrorCode> errorOf(const std::string& blob) {
  try {
    (void)parseRequirementBlob(blob);
    return std::nullopt;
  } catch (const CodeSignatureError& error) {
    return error.code();
  }
}

TEST(RequirementCodecTest, IdentifierIsPaddedToFourBytes) {
  const std::string blob = buildRequirementBlob({.operation = RequirementOperator::identifier, .text = "abcde"});

  EXPECT_EQ(blob, blobOf(BlobBuilder().u32(2).u32(5).bytes("abcde").bytes(std::string(3, '\0'))));
}

TEST(RequirementCodecTest, UnknownOperatorsSayWhetherTheyCanBePassedOver) {
  EXPECT_EQ(parseRequirementBlob(blobOf(BlobBuilder().u32(0x80000063).paddedData("xy"))).operation,
            RequirementOperator::never);
  EXPECT_EQ(parseRequirementBlob(blobOf(BlobBuilder().u32(0x40000063).paddedData("xy").u32(1))).operation,
            RequirementOperator::always);
  EXPECT_EQ(errorOf(blobOf(BlobBuilder().u32(0x63))), requirementUnsupported);
}

TEST(RequirementCodecTest, DamagedBlobsAreRefused) {
  EXPECT_EQ(errorOf(""), requirementInvalid);
  EXPECT_EQ(errorOf(blobOf(BlobBuilder())), requirementInvalid);
  EXPECT_EQ(errorOf(blobOf(BlobBuilder().u32(1), 2)), requirementUnsupported);
  EXPECT_EQ(errorOf(blobOf(BlobBuilder().u32(1).u32(1))), requirementInvalid);               // rest
  EXPECT_EQ(errorOf(blobOf(BlobBuilder().u32(2).u32(0xFFFFFFFF))), requirementInvalid);      // length
  EXPECT_EQ(errorOf(blobOf(BlobBuilder().u32(2).u32(3).bytes("abc"))), requirementInvalid);  // no padding
  EXPECT_EQ(errorOf(blobOf(BlobBuilder().u32(10).paddedData("k").u32(99))), requirementUnsupported);
}

TEST(RequirementCodecTest, DeepNestingIsRefused) {
  BlobBuilder code;
  for (int i = 0; i < 100'000; ++i) code.u32(9);

  EXPECT_EQ(errorOf(blobOf(code.u32(1))), requirementInvalid);
}

}  // namespace
}  // namespace quillon
