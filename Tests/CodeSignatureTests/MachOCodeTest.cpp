#include <gtest/gtest.h>

#include <array>
#include <functional>

#include "CodeSignature/BlobBuilder.h"
#include "CodeSignature/CodeDirectory.h"
#include "CodeSignature/CodePages.h"
#include "CodeSignature/CodeSignatureVerdict.h"
#include "CodeSignature/EmbeddedSignature.h"
#include "CodeSignature/MachOCode.h"
#include "CodeSignature/RequirementSet.h"
#include "Support/MachOBuilder.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using enum CodeSignatureErrorCode;
using testing::MachOBuilder;

using Parts = std::map<CodeSlot, std::string>;

/// An object file with an ad-hoc signature made step by step, so that each step can be gone wrong.
class MachOCodeTest : public ::testing::Test {
 protected:
  /// A signature over what the builder makes when it gets one of this length.
  static std::string sign(MachOBuilder builder, const std::function<void(CodeDirectory&)>& edit = {},
                          const std::function<void(Parts&)>& editParts = {}) {
    const std::string reserved(kReserved, '\0');
    const std::string image = MachOBuilder(builder).withSignature(reserved).build();
    const std::string requirements = buildRequirementSet({});
    CodeDirectory directory;
    directory.identifier = "com.example.program";
    directory.flags = kCodeDirectoryAdHocFlag;
    directory.pageSizeLog2 = 12;
    directory.codeLimit = image.size() - kReserved;
    directory.specialHashes[CodeSlot::requirements] = codeHash(directory.hashType, requirements);
    const auto read = [&image](std::uint64_t offset, std::span<char> block) {
      return image.copy(block.data(), block.size(), offset);
    };
    directory.pageHashes = hashCodePages(read, directory.codeLimit, 12, {directory.hashType}).front();
    if (edit) edit(directory);
    Parts parts{{CodeSlot::codeDirectory, buildCodeDirectory(directory)}, {CodeSlot::requirements, requirements}};
    if (editParts) editParts(parts);
    std::string signature = buildEmbeddedSignature(parts);
    signature.resize(kReserved);
    return builder.withSignature(signature).build();
  }

  CodeSignatureVerdict verify(const std::string& content) {
    testing::writeFile(path_, content);
    return verifyCode(QuillonURL::fileURL(path_.string()));
  }

  static constexpr std::size_t kReserved = 4096;
  testing::TemporaryDirectory folder_;
  std::filesystem::path path_ = folder_ / "program";
};

struct ArchitectureCase {
  const char* name;
  testing::MachOArchitecture architecture;
};

class MachOCodeArchitectureTest : public MachOCodeTest, public ::testing::WithParamInterface<ArchitectureCase> {};

TEST_P(MachOCodeArchitectureTest, SignedImageVerifiesAndEveryPageCounts) {
  const std::string image = sign(MachOBuilder(GetParam().architecture).withPages(5));
  ASSERT_EQ(verify(image).text("P"), "");

  const std::size_t limit = image.size() - kReserved;
  for (std::size_t page = 1; page * 4096 < limit; ++page) {
    std::string changed = image;
    changed[page * 4096 + 11] = static_cast<char>(changed[page * 4096 + 11] ^ 1);
    EXPECT_EQ(verify(changed).text("P"),
              "P: invalid signature (code or signature have been modified)\n"
              "In architecture: " +
                  std::string(GetParam().name) + "\n")
        << page;
  }
}

INSTANTIATE_TEST_SUITE_P(Architectures, MachOCodeArchitectureTest,
                         ::testing::Values(ArchitectureCase{"arm64", testing::kARM64},
                                           ArchitectureCase{"x86_64", testing::kX86_64},
                                           ArchitectureCase{"i386", testing::kI386},
                                           ArchitectureCase{"ppc", testing::kPowerPC}));

TEST_F(MachOCodeTest, EveryArchitectureOfAUniversalFileIsVerified) {
  const std::string arm = sign(MachOBuilder(testing::kARM64));
  const std::string intel = sign(MachOBuilder(testing::kX86_64));
  EXPECT_EQ(verify(testing::buildUniversalFile({intel, arm})).text("P"), "");
  EXPECT_EQ(verify(testing::buildUniversalFileHidingLast({intel, arm})).text("P"), "");

  for (const auto& [images, name] : {std::pair(std::vector{intel, MachOBuilder(testing::kARM64).build()}, "arm64"),
                                     std::pair(std::vector{MachOBuilder(testing::kX86_64).build(), arm}, "x86_64")}) {
    EXPECT_EQ(verify(testing::buildUniversalFile(images)).text("P"),
              "P: code object is not signed at all\nIn architecture: " + std::string(name) + "\n");
  }
}

TEST_F(MachOCodeTest, ArchitecturesOfTwoTeamsAreNoProgramOfEither) {
  const std::string one = sign(MachOBuilder(testing::kARM64), [](CodeDirectory& d) { d.team = "ONE"; });
  const std::string other = sign(MachOBuilder(testing::kX86_64), [](CodeDirectory& d) { d.team = "OTHER"; });

  EXPECT_EQ(verify(testing::buildUniversalFile({one, other})).failure, signatureInvalid);
}

struct SignatureFlaw {
  const char* name;
  std::function<void(CodeDirectory&)> edit;
  std::function<void(Parts&)> editParts;
  CodeSignatureErrorCode failure;
};

class MachOSignatureFlawTest : public MachOCodeTest, public ::testing::WithParamInterface<SignatureFlaw> {};

TEST_P(MachOSignatureFlawTest, IsRefused) {
  EXPECT_EQ(verify(sign(MachOBuilder(), GetParam().edit, GetParam().editParts)).failure, GetParam().failure);
}

CodeSlot alternate(std::uint32_t index) {
  return static_cast<CodeSlot>(static_cast<std::uint32_t>(CodeSlot::alternateCodeDirectory) + index);
}

std::string entitlementsBlob() {
  constexpr std::uint32_t kMagic = 0xFADE7171;
  return BlobBuilder().u32(kMagic).u32(8).blob();
}

const SignatureFlaw kFlaws[] = {
    {"ShorterLimit",
     [](CodeDirectory& d) {
       d.codeLimit = 4096;
       d.pageHashes.resize(32);
     },
     {},
     signatureInvalid},
    {"LongerLimit", [](CodeDirectory& d) { d.codeLimit += 1; }, {}, signatureFailed},
    {"UnsealedEntitlements", {}, [](Parts& p) { p[CodeSlot::entitlements] = entitlementsBlob(); }, signatureFailed},
    {"SealedEntitlementsThatAreMissing",
     [](CodeDirectory& d) { d.specialHashes[CodeSlot::entitlements] = std::string(32, 'e'); },
     {},
     signatureFailed},
    {"SlotOfNoKnownKind", {}, [](Parts& p) { p[static_cast<CodeSlot>(12)] = "x"; }, signatureFailed},
    {"SlotBehindAllKnownKinds", {}, [](Parts& p) { p[static_cast<CodeSlot>(0x20000)] = "x"; }, signatureFailed},
    {"OneAlternateTooMany", {}, [](Parts& p) { p[static_cast<CodeSlot>(0x1005)] = "x"; }, signatureFailed},
    {"ResourceSealWithoutBundle",
     [](CodeDirectory& d) { d.specialHashes[CodeSlot::resources] = std::string(32, 'r'); },
     {},
     resourceDirectoryFailed},
    {"MessageOfAnAdHocSignature", {}, [](Parts& p) { p[CodeSlot::signature] = "message"; }, signatureFailed},
    {"NoMessage", [](CodeDirectory& d) { d.flags = 0; }, {}, unsignedCode},
    {"EmptyMessage", [](CodeDirectory& d) { d.flags = 0; }, [](Parts& p) { p[CodeSlot::signature] = ""; },
     unsignedCode},
    {"NoDirectory",
     {},
     [](Parts& p) {
       p[alternate(0)] = p[CodeSlot::codeDirectory];
       p.erase(CodeSlot::codeDirectory);
     },
     unsignedCode},
    {"SameDirectoryTwice", {}, [](Parts& p) { p[alternate(0)] = p[CodeSlot::codeDirectory]; }, signatureInvalid},
    {"AlternateDirectoryBehindAGap",
     {},
     [](Parts& p) { p[alternate(1)] = p[CodeSlot::codeDirectory]; },
     signatureInvalid},
};
std::string flawName(const ::testing::TestParamInfo<SignatureFlaw>& info) {
  return info.param.name;
}
INSTANTIATE_TEST_SUITE_P(Flaws, MachOSignatureFlawTest, ::testing::ValuesIn(kFlaws), flawName);

TEST_F(MachOCodeTest, LinkersSignatureHasNoSlotsAtAll) {
  const auto forget = [](CodeDirectory& directory) { directory.specialHashes.clear(); };
  const auto remove = [](Parts& parts) { parts.erase(CodeSlot::requirements); };
  EXPECT_EQ(verify(sign(MachOBuilder(), forget, remove)).text("P"), "");
  // Its Info.plist is a part of the hashed code.
  EXPECT_EQ(verify(sign(MachOBuilder().withInformation("<plist><dict/></plist>"), forget, remove)).text("P"), "");
}

TEST_F(MachOCodeTest, SectionIsTheInformationOfAnObjectFileWithoutBundle) {
  const std::string information = "<plist version=\"1.0\"><dict><key>a</key><string>b</string></dict></plist>";
  const auto seal = [&information](CodeDirectory& directory) {
    directory.specialHashes[CodeSlot::infoPropertyList] = codeHash(directory.hashType, information);
  };
  const auto sealAnother = [](CodeDirectory& directory) {
    directory.specialHashes[CodeSlot::infoPropertyList] = std::string(32, 'i');
  };

  EXPECT_EQ(verify(sign(MachOBuilder().withInformation(information), seal)).text("P"), "");
  EXPECT_EQ(verify(sign(MachOBuilder().withInformation(information), sealAnother)).failure, infoPropertyListFailed);
  EXPECT_EQ(verify(sign(MachOBuilder(), seal)).failure, infoPropertyListFailed);
}

TEST_F(MachOCodeTest, SignatureOfAnUnreasonableLengthIsNotRead) {
  std::string image = sign(MachOBuilder());
  constexpr std::uint32_t kSignatureCommand = 0x1D;
  constexpr std::uint64_t kLength = std::uint64_t{1} << 30;
  const std::size_t command = testing::machOCommandOffset(image, kSignatureCommand);
  testing::setMachOField(image, command + 12, kLength);
  testing::writeFile(path_, image);
  std::filesystem::resize_file(path_, image.size() - kReserved + kLength);  // sparse

  EXPECT_FALSE(verifyCode(QuillonURL::fileURL(path_.string())).isValid());
}

}  // namespace
}  // namespace quillon
