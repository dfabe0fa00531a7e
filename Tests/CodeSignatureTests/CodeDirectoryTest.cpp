#include <gtest/gtest.h>

#include "CodeSignature/CodeDirectory.h"
#include "CodeSignature/CodeSignatureError.h"

namespace quillon {
namespace {

using enum CodeSignatureErrorCode;

CodeDirectory sampleDirectory() {
  CodeDirectory directory;
  directory.identifier = "com.example.sample";
  directory.team = "TEAM123456";
  directory.codeLimit = 5000;
  directory.pageSizeLog2 = 12;
  directory.specialHashes[CodeSlot::infoPropertyList] = std::string(32, 'i');
  directory.specialHashes[CodeSlot::resources] = std::string(32, 'r');
  directory.pageHashes = std::string(32, 'a') + std::string(32, 'b');
  return directory;
}

/// Error of reading `blob` with the big-endian number at `offset` replaced.
std::optional<CodeSignatureErrorCode> errorWith(std::string blob, std::size_t offset, std::uint32_t value,
                                                std::size_t width = 4) {
  for (std::size_t i = 0; i < width; ++i) blob[offset + i] = static_cast<char>(value >> (8 * (width - 1 - i)));
  try {
    (void)parseCodeDirectory(blob);
    return std::nullopt;
  } catch (const CodeSignatureError& error) {
    return error.code();
  }
}

TEST(CodeDirectoryTest, WhatIsBuiltIsReadBack) {
  const CodeDirectory built = sampleDirectory();

  const CodeDirectory read = parseCodeDirectory(buildCodeDirectory(built));

  EXPECT_EQ(read.version, 0x20200U);
  EXPECT_EQ(read.identifier, built.identifier);
  EXPECT_EQ(read.team, built.team);
  EXPECT_EQ(read.codeLimit, 5000U);
  EXPECT_EQ(read.pageHashes, built.pageHashes);
  EXPECT_EQ(read.specialHashes, built.specialHashes);
  EXPECT_EQ(read.specialSlotCount, 3U);
}

TEST(CodeDirectoryTest, VersionIsTheLowestThatHoldsTheFields) {
  CodeDirectory directory = sampleDirectory();
  directory.team.clear();
  EXPECT_EQ(parseCodeDirectory(buildCodeDirectory(directory)).version, 0x20100U);
  directory.executableSegmentLimit = 4096;
  EXPECT_EQ(parseCodeDirectory(buildCodeDirectory(directory)).version, 0x20400U);
  directory.runtimeVersion = 0x000E0400;
  EXPECT_EQ(parseCodeDirectory(buildCodeDirectory(directory)).runtimeVersion, 0x000E0400U);
  directory.runtimeVersion = 0;
  directory.flags = kCodeDirectoryRuntimeFlag;
  EXPECT_EQ(parseCodeDirectory(buildCodeDirectory(directory)).version, 0x20500U);
  directory.codeLimit = std::uint64_t{5} << 32;
  directory.pageSizeLog2 = 0;
  directory.pageHashes.resize(32);
  EXPECT_EQ(parseCodeDirectory(buildCodeDirectory(directory)).codeLimit, std::uint64_t{5} << 32);
}

TEST(CodeDirectoryTest, IdentifyingHashIsTheBeginningOfTheBlobsHash) {
  const CodeDirectory directory = parseCodeDirectory(buildCodeDirectory(sampleDirectory()));

  EXPECT_EQ(directory.fullHash(), fullCodeHash(CodeHashType::sha256, directory.blob));
  EXPECT_EQ(directory.identifyingHash(), directory.fullHash().substr(0, 20));
}

TEST(CodeDirectoryTest, FieldsThatDoNotFitTogetherAreRefused) {
  const std::string blob = buildCodeDirectory(sampleDirectory());

  EXPECT_EQ(errorWith(blob, 0, 0xFADE0C01), signatureFailed);  // magic
  EXPECT_EQ(errorWith(blob, 4, static_cast<std::uint32_t>(blob.size()) + 1), signatureFailed);
  EXPECT_EQ(errorWith(blob, 8, 0x20000), signatureUnsupported);  // version
  EXPECT_EQ(errorWith(blob, 8, 0x2F001), signatureUnsupported);
  EXPECT_EQ(errorWith(blob, 16, 0xFFFFFFFF), signatureFailed);  // hash offset
  EXPECT_EQ(errorWith(blob, 16, 60), signatureFailed);          // special hashes over the header
  EXPECT_EQ(errorWith(blob, 20, 4), signatureFailed);           // identifier inside the header
  EXPECT_EQ(errorWith(blob, 20, 0xFFFFFFFF), signatureFailed);
  EXPECT_EQ(errorWith(blob, 20, static_cast<std::uint32_t>(blob.size()) - 1), signatureFailed);  // not terminated
  EXPECT_EQ(errorWith(blob, 24, 0xFFFFFFFF), signatureFailed);                                   // special slots
  EXPECT_EQ(errorWith(blob, 28, 0xFFFFFFFF), signatureFailed);                                   // code slots
  EXPECT_EQ(errorWith(blob, 28, 1), signatureFailed);  // fewer pages than the limit says
  EXPECT_EQ(errorWith(blob, 32, 0), signatureFailed);  // limit
  EXPECT_EQ(errorWith(blob, 32, 8193), signatureFailed);
  EXPECT_EQ(errorWith(blob, 36, 20, 1), signatureFailed);      // hash size of another type
  EXPECT_EQ(errorWith(blob, 37, 5, 1), signatureUnsupported);  // hash type
  EXPECT_EQ(errorWith(blob, 39, 64, 1), signatureFailed);      // page size
  EXPECT_EQ(errorWith(blob, 44, 1), signatureFailed);          // scatter vector
  EXPECT_EQ(errorWith(blob, 48, 4), signatureFailed);          // team inside the header
}

TEST(CodeDirectoryTest, UnreasonableNumberOfSpecialSlotsIsRefused) {
  CodeDirectory directory = sampleDirectory();
  directory.specialHashes[static_cast<CodeSlot>(64)] = std::string(32, 's');
  EXPECT_EQ(parseCodeDirectory(buildCodeDirectory(directory)).specialSlotCount, 64U);
  directory.specialHashes[static_cast<CodeSlot>(65)] = std::string(32, 's');
  EXPECT_THROW((void)parseCodeDirectory(buildCodeDirectory(directory)), CodeSignatureError);
}

TEST(CodeDirectoryTest, EveryCutIsRefused) {
  const std::string blob = buildCodeDirectory(sampleDirectory());

  for (std::size_t length = 0; length < blob.size(); ++length) {
    EXPECT_THROW((void)parseCodeDirectory(blob.substr(0, length)), CodeSignatureError) << length;
  }
}

}  // namespace
}  // namespace quillon
