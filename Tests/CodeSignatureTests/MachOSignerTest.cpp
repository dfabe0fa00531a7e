#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "CodeSignature/CMSSignature.h"
#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/CodeSignatureVerdict.h"
#include "CodeSignature/EmbeddedSignature.h"
#include "CodeSignature/MachOSigner.h"
#include "CodeSignature/RequirementSet.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"
#include "Support/MachOBuilder.h"
#include "Support/ScopedFileLengthLimit.h"
#include "Support/SigningIdentityMaker.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using testing::MachOArchitecture;
using testing::MachOBuilder;

constexpr std::size_t kPage = 4096;

MachOSigningRequest adHocRequest() {
  MachOSigningRequest request;
  request.identifier = "com.example.program";
  request.parts[CodeSlot::requirements] = buildRequirementSet({});
  return request;
}

Entitlements entitlementsWith(std::string_view key, bool value) {
  QuillonPropertyListValue::Dictionary values;
  values.emplace(key, value);
  return Entitlements::read(writeXMLPropertyList(QuillonPropertyListValue(std::move(values))));
}

/// One image of a signed file, taken apart without the signer's help.
struct SignedImage {
  MachOImage image;
  std::string bytes;
  std::vector<CodeSlot> slots;
  std::vector<CodeDirectory> directories;
  std::map<CodeSlot, std::string> parts;

  [[nodiscard]] const CodeDirectory& directory() const { return directories.front(); }
};

/// Hashes of every page, one by one, from the bytes.
std::string pageHashesOf(std::string_view code, CodeHashType type) {
  std::string hashes;
  for (std::size_t start = 0; start < code.size(); start += kPage) hashes += codeHash(type, code.substr(start, kPage));
  return hashes;
}

/// Fails the test unless every directory is true of the image's bytes.
void expectSealed(const SignedImage& image) {
  ASSERT_TRUE(image.image.signature);
  const std::string_view code = std::string_view(image.bytes).substr(0, image.image.signature->dataOffset);
  ASSERT_FALSE(image.directories.empty());
  for (const CodeDirectory& directory : image.directories) {
    EXPECT_EQ(directory.codeLimit, code.size());
    EXPECT_EQ(directory.pageSizeLog2, 12);
    EXPECT_TRUE(directory.pageHashes == pageHashesOf(code, directory.hashType));
    for (const auto& [slot, part] : image.parts) {
      if (static_cast<std::uint32_t>(slot) > kLastSpecialSlot || slot == CodeSlot::codeDirectory) continue;
      EXPECT_EQ(directory.specialHashes.at(slot), codeHash(directory.hashType, part));
    }
  }
}

SignedImage takeApart(const MachOSlice& slice, const std::string& file) {
  SignedImage result;
  result.image = slice.image;
  result.bytes = file.substr(slice.offset, slice.length);
  if (!slice.image.signature) return result;
  const auto signature = EmbeddedSignature::parse(result.bytes.substr(slice.image.signature->dataOffset));
  result.slots = signature.slots();
  for (const CodeSlot slot : result.slots) {
    std::string part = signature.part(slot).value();
    const auto number = static_cast<std::uint32_t>(slot);
    if (number == 0 || (number >= 0x1000 && number < 0x1005)) {
      result.directories.push_back(parseCodeDirectory(part));
    } else {
      result.parts[slot] = std::move(part);
    }
  }
  return result;
}

/// A folder with one file, "program".
class MachOSignerTest : public ::testing::Test {
 protected:
  MachOSignerTest() : folder_(openFolder(AT_FDCWD, directory_.path().string())) {}

  void write(const std::string& content) { testing::writeFile(path(), content); }
  [[nodiscard]] fs::path path() const { return directory_ / "program"; }
  [[nodiscard]] std::string content() const { return testing::readFile(path()); }
  [[nodiscard]] std::ptrdiff_t itemCount() const {
    return std::distance(fs::directory_iterator(directory_.path()), {});
  }

  /// Signs, checks the file's structure and every hash, and returns what the images hold.
  std::vector<SignedImage> sign(const MachOSigningRequest& request) {
    signatures_ = signMachOFile(folder_, "program", request);
    const FileDescriptor file = openRegularFile(folder_.get(), "program");
    object_ = readMachOFile(file);
    EXPECT_NO_THROW(checkMachOLayout(object_, file));
    const std::string bytes = content();
    std::vector<SignedImage> images;
    for (const MachOSlice& slice : object_.slices) {
      images.push_back(takeApart(slice, bytes));
      expectSealed(images.back());
    }
    EXPECT_EQ(itemCount(), 1);
    return images;
  }
  SignedImage signOne(const std::string& content, const MachOSigningRequest& request) {
    write(content);
    return sign(request).front();
  }
  [[nodiscard]] std::string refusal(const MachOSigningRequest& request) const {
    try {
      (void)signMachOFile(folder_, "program", request);
      return {};
    } catch (const QuillonError& error) {
      return error.description();
    }
  }

  testing::TemporaryDirectory directory_;
  FileDescriptor folder_;
  std::vector<MachOImageSignature> signatures_;
  MachOFile object_;
};

class MachOSignerArchitectureTest : public MachOSignerTest, public ::testing::WithParamInterface<MachOArchitecture> {};

INSTANTIATE_TEST_SUITE_P(Architectures, MachOSignerArchitectureTest,
                         ::testing::Values(testing::kARM64, testing::kX86_64, testing::kI386, testing::kPowerPC),
                         [](const auto& test) { return architectureName(test.param.cpuType, test.param.cpuSubtype); });

TEST_P(MachOSignerArchitectureTest, AdHocSignatureSealsTheImage) {
  const std::string before = MachOBuilder(GetParam()).withPages(3).build();

  const SignedImage image = signOne(before, adHocRequest());

  EXPECT_EQ(image.directory().identifier, "com.example.program");
  EXPECT_EQ(image.directory().flags, 0x2U);
  EXPECT_EQ(image.directory().version, 0x20400U);
  EXPECT_EQ(image.directory().team, "");
  EXPECT_EQ(image.parts.at(CodeSlot::signature), "");
  EXPECT_EQ(image.slots, (std::vector{CodeSlot::codeDirectory, CodeSlot::requirements, CodeSlot::signature}));
}

TEST_P(MachOSignerArchitectureTest, OnlyTheHeaderAndTheSignatureChange) {
  const std::string before = MachOBuilder(GetParam()).withPages(3).build();

  const SignedImage image = signOne(before, adHocRequest());

  const std::size_t headerEnd = image.image.commandsEnd;
  EXPECT_TRUE(image.bytes.substr(headerEnd, before.size() - headerEnd) == before.substr(headerEnd));
  const std::string gap = image.bytes.substr(before.size(), image.image.signature->dataOffset - before.size());
  EXPECT_EQ(gap.find_first_not_of('\0'), std::string::npos);
}

TEST_P(MachOSignerArchitectureTest, SigningAgainChangesNothing) {
  signOne(MachOBuilder(GetParam()).build(), adHocRequest());
  const std::string once = content();

  sign(adHocRequest());

  EXPECT_TRUE(content() == once);
}

TEST_F(MachOSignerTest, SameInputGivesTheSameBytes) {
  MachOSigningRequest request = adHocRequest();
  request.hashTypes = {CodeHashType::sha1, CodeHashType::sha256};
  const std::string before = MachOBuilder().withPages(70).build();
  signOne(before, request);
  const std::string first = content();

  signOne(before, request);

  EXPECT_TRUE(content() == first);
}

TEST_F(MachOSignerTest, SignatureOfAnotherKindIsReplacedWhole) {
  const std::string before = MachOBuilder().withSignature(std::string(20000, 's')).build();

  signOne(before, adHocRequest());

  EXPECT_LT(content().size(), before.size() - 10000);
}

TEST_F(MachOSignerTest, ExecutableSegmentIsTheTextSegment) {
  const SignedImage program = signOne(MachOBuilder().withPages(5).build(), adHocRequest());
  EXPECT_EQ(program.directory().executableSegmentBase, 0U);
  EXPECT_EQ(program.directory().executableSegmentLimit, 5 * kPage);
  EXPECT_EQ(program.directory().executableSegmentFlags, 0x1U);

  const SignedImage library =
      signOne(MachOBuilder().withFileType(MachOFileType::dynamicLibrary).build(), adHocRequest());
  EXPECT_EQ(library.directory().executableSegmentLimit, kPage);
  EXPECT_EQ(library.directory().executableSegmentFlags, 0U);
}

TEST_F(MachOSignerTest, HardenedRuntimeIsThatOfTheSDK) {
  MachOSigningRequest request = adHocRequest();
  request.isRuntimeHardened = true;
  request.flags = 0x800;

  const SignedImage image = signOne(MachOBuilder().build(), request);

  EXPECT_EQ(image.directory().version, 0x20500U);
  EXPECT_EQ(image.directory().flags, 0x10802U);
  EXPECT_EQ(image.directory().runtimeVersion, 0x000E0200U);
}

TEST_F(MachOSignerTest, EveryHashTypeHasADirectory) {
  MachOSigningRequest request = adHocRequest();
  request.hashTypes = {CodeHashType::sha256, CodeHashType::sha1};

  const SignedImage image = signOne(MachOBuilder().withPages(2).build(), request);

  ASSERT_EQ(image.directories.size(), 2U);
  EXPECT_EQ(image.directories[0].hashType, CodeHashType::sha1);
  EXPECT_EQ(image.directories[1].hashType, CodeHashType::sha256);
  EXPECT_EQ(image.slots, (std::vector{CodeSlot::codeDirectory, CodeSlot::requirements, CodeSlot::alternateCodeDirectory,
                                      CodeSlot::signature}));
}

TEST_F(MachOSignerTest, CallerLearnsTheDirectories) {
  write(testing::buildUniversalFile({MachOBuilder(testing::kX86_64).build(), MachOBuilder().build()}, 14));

  const std::vector<SignedImage> images = sign(adHocRequest());

  ASSERT_EQ(signatures_.size(), 2U);
  EXPECT_EQ(signatures_[0].architecture, "x86_64");
  EXPECT_EQ(signatures_[1].architecture, "arm64");
  for (std::size_t i = 0; i < 2; ++i) {
    ASSERT_EQ(signatures_[i].directories.size(), 1U);
    EXPECT_TRUE(signatures_[i].directories[0].blob == images[i].directory().blob);
  }
}

TEST_F(MachOSignerTest, IdentitySignsTheFirstDirectory) {
  const SigningIdentity identity = testing::sharedSigningIdentity().identity();
  MachOSigningRequest request = adHocRequest();
  request.identity = &identity;
  request.hashTypes = {CodeHashType::sha1, CodeHashType::sha256};

  const SignedImage image = signOne(MachOBuilder().build(), request);

  EXPECT_EQ(image.directory().flags, 0U);
  EXPECT_EQ(image.directory().team, "TEAM123456");
  const CMSSignature cms = verifyCMSSignature(image.parts.at(CodeSlot::signature), image.directory().blob);
  EXPECT_EQ(cms.signer, identity.certificateChain().front());
  EXPECT_EQ(cms.listedHashes,
            (std::vector{image.directories[0].identifyingHash(), image.directories[1].identifyingHash()}));
}

TEST_F(MachOSignerTest, SignatureFitsItsSpaceHoweverLongItsNumbersAre) {
  const SigningIdentity identity = testing::sharedSigningIdentity().identity();
  MachOSigningRequest request = adHocRequest();
  request.identity = &identity;

  // Every signature of an elliptic curve has other numbers.
  for (int i = 0; i < 10; ++i) {
    const SignedImage image = signOne(MachOBuilder().build(), request);
    EXPECT_NO_THROW((void)verifyCMSSignature(image.parts.at(CodeSlot::signature), image.directory().blob));
  }
}

TEST_F(MachOSignerTest, VerifierAcceptsEverySignedFile) {
  const SigningIdentity identity = testing::sharedSigningIdentity().identity();
  MachOSigningRequest request = adHocRequest();
  request.hasEmbeddedInformation = true;
  request.isRuntimeHardened = true;
  request.entitlements = entitlementsWith("com.apple.security.app-sandbox", true);
  const std::string information =
      writeXMLPropertyList(QuillonPropertyListValue(QuillonPropertyListValue::Dictionary{}));
  const std::string before = testing::buildUniversalFile(
      {MachOBuilder(testing::kX86_64).withInformation(information).build(), MachOBuilder().withPages(3).build()}, 14);

  for (const SigningIdentity* signer : {static_cast<const SigningIdentity*>(nullptr), &identity}) {
    request.identity = signer;
    request.hashTypes = {CodeHashType::sha256};
    if (signer != nullptr) request.hashTypes.insert(CodeHashType::sha1);
    write(before);
    sign(request);
    EXPECT_EQ(verifyCode(QuillonURL::fileURL(path().string())).text("program"), "");
  }
}

TEST_F(MachOSignerTest, MessageHoldsTheTimeOfTheRequest) {
  const SigningIdentity identity = testing::sharedSigningIdentity().identity();
  MachOSigningRequest request = adHocRequest();
  request.identity = &identity;
  request.signingTime = std::chrono::sys_seconds(std::chrono::seconds(1'700'000'000));

  const SignedImage image = signOne(MachOBuilder().build(), request);

  const CMSSignature cms = verifyCMSSignature(image.parts.at(CodeSlot::signature), image.directory().blob);
  EXPECT_EQ(cms.signingTime, request.signingTime);
}

TEST_F(MachOSignerTest, InformationAndResourcesAreHashedButNotEmbedded) {
  MachOSigningRequest request = adHocRequest();
  request.parts[CodeSlot::infoPropertyList] = "information";
  request.parts[CodeSlot::resources] = "seal";

  const SignedImage image = signOne(MachOBuilder().withInformation("of the section").build(), request);

  EXPECT_EQ(image.directory().specialHashes.at(CodeSlot::infoPropertyList),
            codeHash(CodeHashType::sha256, "information"));
  EXPECT_EQ(image.directory().specialHashes.at(CodeSlot::resources), codeHash(CodeHashType::sha256, "seal"));
  EXPECT_EQ(image.slots, (std::vector{CodeSlot::codeDirectory, CodeSlot::requirements, CodeSlot::signature}));
  EXPECT_EQ(image.parts.at(CodeSlot::requirements), request.parts.at(CodeSlot::requirements));
}

TEST_F(MachOSignerTest, InformationOfAFileOnItsOwnIsItsSection) {
  MachOSigningRequest request = adHocRequest();
  request.hasEmbeddedInformation = true;
  write(testing::buildUniversalFile({MachOBuilder(testing::kX86_64).withInformation("of one").build(),
                                     MachOBuilder().withInformation("of the other").build(),
                                     MachOBuilder(testing::kI386).build()}));

  const std::vector<SignedImage> images = sign(request);

  const auto hash = [&images](std::size_t i) {
    return images[i].directory().specialHashes.at(CodeSlot::infoPropertyList);
  };
  EXPECT_EQ(hash(0), codeHash(CodeHashType::sha256, "of one"));
  EXPECT_EQ(hash(1), codeHash(CodeHashType::sha256, "of the other"));
  EXPECT_FALSE(images[2].directory().specialHashes.contains(CodeSlot::infoPropertyList));
}

TEST_F(MachOSignerTest, EntitlementsAreEmbeddedInBothForms) {
  MachOSigningRequest request = adHocRequest();
  request.entitlements = entitlementsWith("com.apple.security.app-sandbox", true);

  const SignedImage image = signOne(MachOBuilder().build(), request);

  EXPECT_EQ(image.parts.at(CodeSlot::entitlements), request.entitlements->propertyListBlob());
  EXPECT_EQ(image.parts.at(CodeSlot::entitlementsDER), request.entitlements->derBlob());
  EXPECT_EQ(image.directory().specialSlotCount, 7U);
  EXPECT_EQ(image.directory().executableSegmentFlags, 0x1U);
}

TEST_F(MachOSignerTest, ProgramThatMayBeDebuggedMayHaveUnsignedCode) {
  MachOSigningRequest request = adHocRequest();
  request.entitlements = entitlementsWith("get-task-allow", true);
  EXPECT_EQ(signOne(MachOBuilder().build(), request).directory().executableSegmentFlags, 0x11U);

  request.entitlements = entitlementsWith("get-task-allow", false);
  EXPECT_EQ(signOne(MachOBuilder().build(), request).directory().executableSegmentFlags, 0x1U);
}

TEST_F(MachOSignerTest, UniversalFileIsLaidOutAnewWithEveryImageSigned) {
  write(testing::buildUniversalFile(
      {MachOBuilder(testing::kX86_64).withPages(3).build(), MachOBuilder(testing::kI386).build(),
       MachOBuilder().withPages(2).withSignature(std::string(30000, 's')).build()},
      14));

  const std::vector<SignedImage> images = sign(adHocRequest());

  ASSERT_EQ(images.size(), 3U);
  EXPECT_EQ(object_.formatName(), "Mach-O universal (x86_64 i386 arm64)");
  for (const MachOSlice& slice : object_.slices) {
    EXPECT_EQ(slice.alignment, 14U);
    EXPECT_EQ(slice.offset % (1 << 14), 0U);
  }
  EXPECT_EQ(object_.slices.back().end(), object_.length);
}

TEST_F(MachOSignerTest, EveryImageStandsAtAWholePageOfItsProcessor) {
  write(testing::buildUniversalFile({MachOBuilder(testing::kX86_64).build(), MachOBuilder().build()}, 4));

  const std::vector<SignedImage> images = sign(adHocRequest());

  ASSERT_EQ(images.size(), 2U);
  EXPECT_EQ(object_.slices[0].alignment, 12U);
  EXPECT_EQ(object_.slices[0].offset, 0x1000U);
  EXPECT_EQ(object_.slices[1].alignment, 14U);
  EXPECT_EQ(object_.slices[1].offset % 0x4000, 0U);
}

TEST_F(MachOSignerTest, ImageThatTheUniversalHeaderDidNotCountIsCountedAndSigned) {
  write(testing::buildUniversalFileHidingLast({MachOBuilder(testing::kX86_64).build(), MachOBuilder().build()}));

  const std::vector<SignedImage> images = sign(adHocRequest());

  EXPECT_EQ(images.size(), 2U);
  EXPECT_EQ(content().substr(0, 8), std::string("\xCA\xFE\xBA\xBE\0\0\0\2", 8));
}

TEST_F(MachOSignerTest, CapabilityBitsOfTheUniversalHeaderStay) {
  std::string file = testing::buildUniversalFile({MachOBuilder(testing::kX86_64).build()});
  testing::setUniversalField(file, 12, 0x80000003);
  write(file);

  sign(adHocRequest());

  EXPECT_EQ(content().substr(12, 4), std::string("\x80\0\0\3", 4));
}

TEST_F(MachOSignerTest, RefusalLeavesTheFileAsItWas) {
  const std::string before = testing::buildUniversalFile(
      {MachOBuilder(testing::kX86_64).build(), MachOBuilder().withFreeHeaderSpace(8).build()});
  write(before);

  EXPECT_EQ(refusal(adHocRequest()),
            "The image cannot be signed: its header has 8 unused bytes, and the signature command needs 16; "
            "link it with more header padding");

  EXPECT_TRUE(content() == before);
  EXPECT_EQ(itemCount(), 1);
}

TEST_F(MachOSignerTest, WhatIsNoObjectFileIsRefused) {
  write("#!/bin/sh\n");

  EXPECT_THROW((void)signMachOFile(folder_, "program", adHocRequest()), CodeSignatureError);

  EXPECT_EQ(content(), "#!/bin/sh\n");
  EXPECT_EQ(itemCount(), 1);
}

TEST_F(MachOSignerTest, LinkIsNotFollowed) {
  testing::writeFile(directory_ / "other", MachOBuilder().build());
  fs::create_symlink("other", path());

  EXPECT_THROW((void)signMachOFile(folder_, "program", adHocRequest()), QuillonSystemError);

  EXPECT_TRUE(testing::readFile(directory_ / "other") == MachOBuilder().build());
}

TEST_F(MachOSignerTest, RequestThatMakesNoSenseIsRefused) {
  write(MachOBuilder().build());
  MachOSigningRequest unnamed = adHocRequest();
  unnamed.identifier.clear();
  MachOSigningRequest cut = adHocRequest();
  cut.identifier = std::string("a\0b", 3);
  MachOSigningRequest withoutHash = adHocRequest();
  withoutHash.hashTypes.clear();

  EXPECT_EQ(refusal(unnamed), "The code has no identifier");
  EXPECT_EQ(refusal(cut), "The identifier holds a NUL character");
  EXPECT_EQ(refusal(withoutHash), "No hash algorithm is asked for");
}

TEST_F(MachOSignerTest, FailureAtAnyPlaceOfTheFileLeavesThePreviousOne) {
  const std::string before = MachOBuilder().withPages(4).build();
  signOne(before, adHocRequest());
  const std::size_t length = content().size();
  write(before);

  for (std::size_t limit = 0; limit < length; limit += 509) {
    const testing::ScopedFileLengthLimit tooShort(limit);
    EXPECT_THROW((void)signMachOFile(folder_, "program", adHocRequest()), QuillonSystemError) << limit;
  }

  EXPECT_TRUE(content() == before);
  EXPECT_EQ(itemCount(), 1);
}

TEST_F(MachOSignerTest, FolderThatCannotBeWrittenLeavesTheFile) {
  const std::string before = MachOBuilder().build();
  write(before);
  fs::permissions(directory_.path(), fs::perms::owner_read | fs::perms::owner_exec | fs::perms::others_exec);
  // Root writes everywhere.
  constexpr uid_t kNobody = 65534;
  const uid_t user = geteuid();
  ASSERT_EQ(seteuid(user == 0 ? kNobody : user), 0);

  EXPECT_THROW((void)signMachOFile(folder_, "program", adHocRequest()), QuillonSystemError);

  ASSERT_EQ(seteuid(user), 0);
  fs::permissions(directory_.path(), fs::perms::owner_all);
  EXPECT_TRUE(content() == before);
  EXPECT_EQ(itemCount(), 1);
}

MachOFile objectWith(const std::vector<std::optional<MachOVersion>>& versions) {
  MachOFile object;
  for (const auto& version : versions) {
    object.slices.emplace_back();
    object.slices.back().image.version = version;
  }
  return object;
}

TEST(MachOHashTypesTest, OldSystemsNeedSHA1Too) {
  const std::set both{CodeHashType::sha1, CodeHashType::sha256};
  const std::set only{CodeHashType::sha256};
  constexpr std::uint32_t kMacOS = 1;
  constexpr std::uint32_t kIOS = 2;
  const MachOVersion before{.platform = kMacOS, .minimum = 0x000A0B03};
  const MachOVersion first{.platform = kMacOS, .minimum = 0x000A0B04};

  EXPECT_EQ(hashTypesForMachO(objectWith({before})), both);
  EXPECT_EQ(hashTypesForMachO(objectWith({first})), only);
  EXPECT_EQ(hashTypesForMachO(objectWith({first, before})), both);
  EXPECT_EQ(hashTypesForMachO(objectWith({std::nullopt})), both);
  EXPECT_EQ(hashTypesForMachO(objectWith({MachOVersion{.platform = kIOS, .minimum = 0x00080000}})), only);
}

TEST(MachOIdentifierTest, UniqueIdentifierEndsWithTheNumberOfTheFirstImage) {
  MachOFile object = objectWith({std::nullopt, std::nullopt});
  EXPECT_EQ(uniqueMachOIdentifier("tool", object), "tool");

  object.slices[0].image.uuid = "0123456789ABCDE\xFF";
  object.slices[1].image.uuid = "other";

  EXPECT_EQ(uniqueMachOIdentifier("tool", object),
            "tool-5555494430313233343536373839414243444"
            "5ff");
}

}  // namespace
}  // namespace quillon
