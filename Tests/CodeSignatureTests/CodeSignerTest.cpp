#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <filesystem>
#include <map>

#include "CodeSignature/CodeDirectory.h"
#include "CodeSignature/CodeObject.h"
#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/CodeSignatureVerdict.h"
#include "CodeSignature/CodeSigner.h"
#include "CodeSignature/EmbeddedSignature.h"
#include "CodeSignature/ResourceSeal.h"
#include "Support/FrameworkBuilder.h"
#include "Support/MachOBuilder.h"
#include "Support/ScopedFileLengthLimit.h"
#include "Support/SignedBundleBuilder.h"
#include "Support/SigningIdentityMaker.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using namespace std::string_view_literals;
using testing::readFile;
using testing::SignedBundleBuilder;
using testing::TemporaryDirectory;

std::map<std::string, std::string> signatureFiles(const SignedBundleBuilder& bundle) {
  std::map<std::string, std::string> files;
  for (const auto& entry : fs::directory_iterator(bundle / "_CodeSignature")) {
    files[entry.path().filename()] = readFile(entry.path());
  }
  return files;
}

std::string identifierOf(const SignedBundleBuilder& bundle) {
  return parseCodeDirectory(readFile(bundle / "_CodeSignature/CodeDirectory")).identifier;
}

TEST(CodeSignerTest, WritesTheFourPartsAndNothingElse) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withUsualContents().sign();

  std::vector<std::string> names;
  for (const auto& [name, content] : signatureFiles(bundle)) names.push_back(name);

  EXPECT_EQ(names, (std::vector<std::string>{"CodeDirectory", "CodeRequirements", "CodeResources", "CodeSignature"}));
  struct stat status {};
  ASSERT_EQ(stat((bundle / "_CodeSignature").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0755U);
}

TEST(CodeSignerTest, IdentifierComesFromTheOptionTheInformationOrTheName) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withScript().signAdHoc();
  EXPECT_EQ(identifierOf(bundle), "com.example.example");
  bundle.sign({.identifier = "other", .replacesSignature = true});
  EXPECT_EQ(identifierOf(bundle), "other");
  testing::writeFile(bundle / "Info.plist", "<plist version=\"1.0\"><dict/></plist>");
  bundle.signAdHoc();
  EXPECT_EQ(identifierOf(bundle), "Example");
}

TEST(CodeSignerTest, SignedBundleIsSignedAgainOnlyWhenAsked) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withScript().signAdHoc();
  testing::writeFile(bundle / "_CodeSignature/stranger", "x");
  const auto before = signatureFiles(bundle);

  EXPECT_THROW(bundle.sign(SigningOptions{}), QuillonError);
  EXPECT_EQ(signatureFiles(bundle), before);

  bundle.sign();
  EXPECT_FALSE(signatureFiles(bundle).contains("stranger"));
  EXPECT_EQ(verifyCode(bundle.url()).text("x"), "");
}

struct Obstacle {
  const char* name;
  void (*add)(const SignedBundleBuilder&);
  std::optional<CodeSignatureErrorCode> error;  // absent: a failure of another kind
};

class CodeSignerObstacleTest : public ::testing::TestWithParam<Obstacle> {};

TEST_P(CodeSignerObstacleTest, FailureLeavesThePreviousSignatureUntouched) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withUsualContents().sign();
  const auto before = signatureFiles(bundle);
  GetParam().add(bundle);

  std::optional<CodeSignatureErrorCode> code;
  bool didFail = false;
  try {
    bundle.sign();
  } catch (const CodeSignatureError& error) {
    code = error.code();
    didFail = true;
  } catch (const QuillonError&) {
    didFail = true;
  }

  EXPECT_TRUE(didFail);
  EXPECT_EQ(code, GetParam().error);
  EXPECT_EQ(signatureFiles(bundle), before);
  for (const auto& entry : fs::directory_iterator(bundle.contents())) {
    EXPECT_EQ(entry.path().filename().string().find("unfinished"), std::string::npos);
  }
}

using enum CodeSignatureErrorCode;
const Obstacle kObstacles[] = {
    {"LinkLeadingOut", [](const auto& b) { fs::create_symlink("../../../x", b / "Resources/l"); },
     invalidLinkDestination},
    {"LinkToNothing", [](const auto& b) { fs::create_symlink("x", b / "Resources/l"); }, invalidLinkDestination},
    {"FIFO", [](const auto& b) { mkfifo((b / "Resources/p").c_str(), 0600); }, unsupportedResource},
    {"NameInInvalidUTF8", [](const auto& b) { testing::writeFile(b / "Resources/\xFF", ""); }, std::nullopt},
    {"TruncatedObjectFile",
     [](const auto& b) { testing::writeFile(b / "MacOS/Example", "\xFE\xED\xFA\xCE\1\1\1\1\1\1\1\1\0\0\0\2"sv); },
     badObjectFormat},
    {"FileBesideContents", [](const auto& b) { testing::writeFile(b.path() / "stray", ""); }, unsealedRootContents},
    {"BrokenInformation", [](const auto& b) { testing::writeFile(b / "Info.plist", "<"); }, badPropertyList},
    {"FrameworkWithoutCurrentVersion",
     [](const auto& b) { fs::create_directories(b / "Frameworks/F.framework/Versions/A"); }, badBundleFormat},
    {"NestedFolderThatIsNoBundle", [](const auto& b) { testing::writeFile(b / "MacOS/x.d/y", ""); }, badBundleFormat},
};
std::string obstacleName(const ::testing::TestParamInfo<Obstacle>& info) {
  return info.param.name;
}
INSTANTIATE_TEST_SUITE_P(Obstacles, CodeSignerObstacleTest, ::testing::ValuesIn(kObstacles), obstacleName);

TEST(CodeSignerTest, WhatAnInterruptedSigningLeftBehindIsRemoved) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withScript().withFile("_CodeSignature-unfinished-abc/CodeDirectory", "half");

  bundle.sign();

  EXPECT_FALSE(fs::exists(bundle / "_CodeSignature-unfinished-abc"));
  EXPECT_EQ(verifyCode(bundle.url()).text("x"), "");
}

TEST(CodeSignerTest, NestedCodeIsSignedInsideOutAndAValidSignatureIsKept) {
  const TemporaryDirectory folder;
  SignedBundleBuilder outer(folder / "Example.app");
  SignedBundleBuilder unsignedOne(outer / "PlugIns/Unsigned.bundle", "BNDL");
  SignedBundleBuilder signedOne(outer / "Helpers/Signed.app");
  outer.withScript();
  unsignedOne.withScript();
  signedOne.withScript().sign({.identity = testing::makeSigningIdentity().identity()});
  const auto kept = signatureFiles(signedOne);

  outer.sign();
  EXPECT_EQ(signatureFiles(signedOne), kept);
  EXPECT_TRUE(fs::exists(unsignedOne / "_CodeSignature/CodeDirectory"));
  EXPECT_EQ(verifyCode(outer.url()).text("x"), "");

  SigningOptions deep = testing::sharedSigningOptions();
  deep.signsNestedCode = true;
  outer.sign(deep);
  EXPECT_NE(signatureFiles(signedOne), kept);
  EXPECT_EQ(verifyCode(outer.url()).text("x"), "");
}

TEST(CodeSignerTest, LinkThatCannotBeSealedLeavesNestedCodeUntouched) {
  const TemporaryDirectory folder;
  SignedBundleBuilder outer(folder / "Example.app");
  SignedBundleBuilder nested(outer / "PlugIns/Nested.bundle", "BNDL");
  nested.withScript();
  outer.withScript().signAdHoc();
  const auto before = signatureFiles(nested);
  const fs::path link = outer / "Resources/out";
  fs::create_directories(link.parent_path());
  fs::create_symlink("/etc/passwd", link);
  SigningOptions options = testing::sharedSigningOptions();
  options.signsNestedCode = true;

  EXPECT_THROW(outer.sign(options), CodeSignatureError);

  EXPECT_EQ(signatureFiles(nested), before);
  fs::remove(link);
  EXPECT_EQ(verifyCode(outer.url()).text("x"), "");
}

TEST(CodeSignerTest, BrokenNestedCodeIsReportedInsteadOfSealed) {
  const TemporaryDirectory folder;
  SignedBundleBuilder outer(folder / "Example.app");
  SignedBundleBuilder nested(outer / "PlugIns/Nested.bundle", "BNDL");
  outer.withScript();
  nested.withScript().sign();
  testing::writeFile(nested / "Resources/added", "x");

  try {
    outer.sign();
    FAIL() << "the broken code was sealed";
  } catch (const CodeSignatureError& error) {
    EXPECT_EQ(error.code(), badResource);
    EXPECT_EQ(error.subcomponent(), nested.path().string());
  }
}

TEST(CodeSignerTest, NestedLinkIntoTheOuterBundleIsAllowed) {
  const TemporaryDirectory folder;
  SignedBundleBuilder outer(folder / "Example.app");
  SignedBundleBuilder nested(outer / "PlugIns/Nested.bundle", "BNDL");
  outer.withScript().withFile("Resources/shared", "x");
  nested.withScript().withLink("Resources/shared", "../../../../Resources/shared");

  outer.sign();

  EXPECT_EQ(verifyCode(outer.url()).text("x"), "");
  EXPECT_EQ(verifyCode(nested.url()).failure, invalidLinkDestination);
}

// ---- Object files
// ----------------------------------------------------------------------------------------------------

using testing::MachOBuilder;

/// The requirement and the hash of the code at `path` in the seal of `bundle`; absent for what is sealed by its hash.
std::optional<std::string> sealedRequirement(const SignedBundleBuilder& bundle, const std::string& path) {
  return parseResourceSeal(readFile(bundle / "_CodeSignature/CodeResources")).resources.at(path).requirement;
}

/// The first directory of the first image of an object file.
CodeDirectory embeddedDirectory(const fs::path& path) {
  const CodeObject object = CodeObject::openAt(QuillonURL::fileURL(path.string()));
  return parseCodeDirectory(object.architectures().front()->signaturePart(CodeSlot::codeDirectory).value());
}

std::string library(testing::MachOArchitecture architecture = testing::kARM64) {
  return MachOBuilder(architecture).withFileType(MachOFileType::dynamicLibrary).build();
}

/// An image as a linker leaves it: with a directory, and nothing else in the signature.
std::string linkerSigned(MachOBuilder builder) {
  CodeDirectory directory;
  directory.flags = 0x20002;
  directory.identifier = "linked";
  directory.pageSizeLog2 = 12;
  directory.codeLimit = builder.codeLimit();
  directory.pageHashes.assign((directory.codeLimit + 4095) / 4096 * 32, 'h');
  return builder.withSignature(buildEmbeddedSignature({{CodeSlot::codeDirectory, buildCodeDirectory(directory)}}))
      .build();
}

TEST(CodeSignerObjectFileTest, SignatureOfTheExecutableIsInsideAndOnlyTheSealBeside) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withUsualContents().withExecutable(
      testing::buildUniversalFile({MachOBuilder(testing::kX86_64).build(), MachOBuilder().build()}, 14));

  const SignedCode adHoc = signCode(bundle.url(), {});
  EXPECT_EQ(verifyCode(bundle.url()).text("x"), "");
  const SignedCode again = signCode(bundle.url(), testing::sharedSigningOptions());

  EXPECT_EQ(verifyCode(bundle.url()).text("x"), "");
  EXPECT_EQ(adHoc.format, "app bundle with Mach-O universal (x86_64 arm64)");
  EXPECT_EQ(again.identifier, "com.example.example");
  ASSERT_EQ(signatureFiles(bundle).size(), 1U);
  EXPECT_TRUE(signatureFiles(bundle).contains("CodeResources"));
  const CodeDirectory directory = embeddedDirectory(bundle.path());
  EXPECT_EQ(directory.team, "TEAM123456");
  EXPECT_EQ(directory.specialHashes.at(CodeSlot::infoPropertyList),
            codeHash(CodeHashType::sha256, readFile(bundle / "Info.plist")));
}

TEST(CodeSignerObjectFileTest, AnyChangeAfterwardsIsFound) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withExecutable(MachOBuilder().withPages(3).build()).withFile("Resources/a", "x").sign();
  std::string program = readFile(bundle.executable());
  program[2 * 4096 + 5] ^= 1;

  testing::writeFile(bundle.executable(), program);

  EXPECT_EQ(verifyCode(bundle.url()).failure, signatureFailed);
}

TEST(CodeSignerObjectFileTest, EqualBundlesGetEqualSignatures) {
  const TemporaryDirectory folder;
  SignedBundleBuilder first(folder / "1/Example.app");
  SignedBundleBuilder second(folder / "2/Example.app");
  for (SignedBundleBuilder* bundle : {&first, &second}) {
    bundle->withExecutable(MachOBuilder().build()).withFile("Frameworks/lib.dylib", library()).signAdHoc();
  }

  EXPECT_TRUE(readFile(first.executable()) == readFile(second.executable()));
  EXPECT_TRUE(readFile(first / "Frameworks/lib.dylib") == readFile(second / "Frameworks/lib.dylib"));
  EXPECT_EQ(signatureFiles(first), signatureFiles(second));
}

TEST(CodeSignerObjectFileTest, OptionsAreThoseOfTheOutermostCode) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withExecutable(MachOBuilder().build()).withFile("Frameworks/lib.dylib", library());
  SigningOptions options = testing::sharedSigningOptions();
  options.identifier = "other";
  options.isRuntimeHardened = true;
  options.entitlements =
      Entitlements::read("<plist version=\"1.0\"><dict><key>get-task-allow</key><true/></dict></plist>");

  bundle.sign(options);

  EXPECT_EQ(verifyCode(bundle.url()).text("x"), "");
  const CodeDirectory outermost = embeddedDirectory(bundle.path());
  EXPECT_EQ(outermost.identifier, "other");
  EXPECT_EQ(outermost.flags, 0x10000U);
  EXPECT_TRUE(outermost.specialHashes.contains(CodeSlot::entitlementsDER));
  const CodeDirectory nested = embeddedDirectory(bundle / "Frameworks/lib.dylib");
  EXPECT_EQ(nested.identifier, "lib");
  EXPECT_EQ(nested.flags, 0x10000U);
  EXPECT_FALSE(nested.specialHashes.contains(CodeSlot::entitlementsDER));
}

TEST(CodeSignerObjectFileTest, ObjectFilesWhereCodeIsExpectedAreNestedCode) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withScript()
      .withFile("Frameworks/libexample.dylib", library())
      .withFile("MacOS/tool", MachOBuilder(testing::kX86_64).build())
      .withFile("MacOS/script", "#!/bin/sh\n")
      .withFile("Resources/data", library());

  bundle.sign();

  EXPECT_EQ(verifyCode(bundle.url()).text("x"), "");
  EXPECT_TRUE(
      sealedRequirement(bundle, "Frameworks/libexample.dylib").value().starts_with("identifier libexample and"));
  EXPECT_TRUE(sealedRequirement(bundle, "MacOS/tool").has_value());
  EXPECT_FALSE(sealedRequirement(bundle, "MacOS/script").has_value());
  EXPECT_FALSE(sealedRequirement(bundle, "Resources/data").has_value());
  EXPECT_TRUE(readFile(bundle / "Resources/data") == library());
}

TEST(CodeSignerObjectFileTest, ValidSignatureOfANestedFileIsKept) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withExecutable(MachOBuilder().build()).withFile("Frameworks/lib.dylib", library());
  const fs::path nested = bundle / "Frameworks/lib.dylib";
  signCode(QuillonURL::fileURL(nested.string()), {.identifier = "kept"});
  const std::string before = readFile(nested);

  bundle.sign();
  EXPECT_TRUE(readFile(nested) == before);
  EXPECT_EQ(verifyCode(bundle.url()).text("x"), "");

  SigningOptions deep = testing::sharedSigningOptions();
  deep.signsNestedCode = true;
  bundle.sign(deep);
  EXPECT_EQ(embeddedDirectory(nested).identifier, "lib");
  EXPECT_EQ(verifyCode(bundle.url()).text("x"), "");
}

TEST(CodeSignerObjectFileTest, FrameworkIsSignedInItsVersion) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withExecutable(MachOBuilder().build());
  const testing::FrameworkBuilder framework(bundle / "Frameworks/Kit.framework", library());

  bundle.sign();

  EXPECT_EQ(verifyCode(bundle.url()).text("x"), "");
  EXPECT_TRUE(fs::exists(framework / "Versions/A/_CodeSignature/CodeResources"));
  EXPECT_TRUE(sealedRequirement(bundle, "Frameworks/Kit.framework").has_value());
}

TEST(CodeSignerObjectFileTest, SignaturesOfLinkersAreReplacedWithoutBeingAsked) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withExecutable(linkerSigned(MachOBuilder()))
      .withFile("Frameworks/lib.dylib", linkerSigned(MachOBuilder().withFileType(MachOFileType::dynamicLibrary)));

  signCode(bundle.url(), {});

  EXPECT_EQ(verifyCode(bundle.url()).text("x"), "");
  EXPECT_THROW(signCode(bundle.url(), {}), QuillonError);
}

TEST(CodeSignerObjectFileTest, OneUnsignedArchitectureMakesAFileUnsigned) {
  const TemporaryDirectory folder;
  const fs::path file = folder / "tool";
  testing::writeFile(file, MachOBuilder().build());
  signCode(QuillonURL::fileURL(file.string()), {});
  testing::writeFile(file, testing::buildUniversalFile({readFile(file), MachOBuilder(testing::kX86_64).build()}, 14));

  signCode(QuillonURL::fileURL(file.string()), {});

  EXPECT_EQ(verifyCode(QuillonURL::fileURL(file.string())).text("x"), "");
}

TEST(CodeSignerObjectFileTest, ExecutableStandsForItsBundle) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withExecutable(MachOBuilder().build());

  signCode(QuillonURL::fileURL(bundle.executable().string()), {});

  EXPECT_EQ(verifyCode(bundle.url()).text("x"), "");
}

TEST(CodeSignerObjectFileTest, SingleFileIsSignedWithTheInformationInIt) {
  const TemporaryDirectory folder;
  const fs::path file = folder / "tool";
  const QuillonURL url = QuillonURL::fileURL(file.string());
  const std::string information =
      "<plist version=\"1.0\"><dict><key>CFBundleIdentifier</key><string>com.example.tool</string></dict></plist>";
  testing::writeFile(file, MachOBuilder().withInformation(information).build());

  const SignedCode signedCode = signCode(url, testing::sharedSigningOptions());

  EXPECT_EQ(verifyCode(url).text("x"), "");
  EXPECT_EQ(signedCode.identifier, "com.example.tool");
  EXPECT_EQ(signedCode.format, "Mach-O thin (arm64)");
  EXPECT_EQ(embeddedDirectory(file).specialHashes.at(CodeSlot::infoPropertyList),
            codeHash(CodeHashType::sha256, information));
}

TEST(CodeSignerObjectFileTest, SingleFileOfAnotherKindIsRefused) {
  const TemporaryDirectory folder;
  testing::writeFile(folder / "script", "#!/bin/sh\n");

  try {
    signCode(QuillonURL::fileURL((folder / "script").string()), {});
    FAIL() << "signed a script";
  } catch (const QuillonError& error) {
    EXPECT_EQ(error.description(), "is neither a bundle nor a Mach-O file");
  }
}

TEST(CodeSignerObjectFileTest, NestedFileWithoutSpaceForASignatureIsNamed) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withExecutable(MachOBuilder().build())
      .withFile("Frameworks/lib.dylib", MachOBuilder().withFreeHeaderSpace(0).build());

  try {
    bundle.sign();
    FAIL() << "signed what has no space for it";
  } catch (const QuillonError& error) {
    EXPECT_TRUE(error.description().ends_with("(" + (bundle / "Frameworks/lib.dylib").string() + ")"))
        << error.description();
  }
  EXPECT_TRUE(readFile(bundle.executable()) == MachOBuilder().build());
}

TEST(CodeSignerObjectFileTest, ExecutableIsPutBackWhenTheSealCannotBeWritten) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withExecutable(MachOBuilder().build());
  for (int i = 0; i < 150; ++i) bundle.withFile("Resources/" + std::to_string(i), "x");
  bundle.signAdHoc();
  const std::string program = readFile(bundle.executable());
  const auto files = signatureFiles(bundle);
  ASSERT_GT(files.at("CodeResources").size(), program.size() + 20000);

  {
    const testing::ScopedFileLengthLimit noSpaceForTheSeal(program.size() + 20000);
    EXPECT_THROW(bundle.sign(), QuillonSystemError);
  }

  EXPECT_TRUE(readFile(bundle.executable()) == program);
  EXPECT_EQ(signatureFiles(bundle), files);
  EXPECT_EQ(verifyCode(bundle.url()).text("x"), "");
}

TEST(CodeSignerObjectFileTest, UnfinishedExecutablesAreRemoved) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withExecutable(MachOBuilder().build())
      .withFile("MacOS/_CodeSignature-unfinished-01", library())
      .withFile("Frameworks/_CodeSignature-unfinished-02", "half");

  bundle.sign();

  EXPECT_FALSE(fs::exists(bundle / "MacOS/_CodeSignature-unfinished-01"));
  EXPECT_FALSE(fs::exists(bundle / "Frameworks/_CodeSignature-unfinished-02"));
  EXPECT_EQ(verifyCode(bundle.url()).text("x"), "");
}

TEST(CodeSignerTest, ScriptIsSignedForTheHardenedRuntime) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  SigningOptions options = testing::sharedSigningOptions();
  options.isRuntimeHardened = true;

  bundle.withScript().sign(options);

  EXPECT_EQ(parseCodeDirectory(signatureFiles(bundle)["CodeDirectory"]).flags, 0x10000U);
  EXPECT_EQ(verifyCode(bundle.url()).text("x"), "");
}

TEST(CodeSignerTest, EntitlementsOfAScriptAreFiles) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  SigningOptions options = testing::sharedSigningOptions();
  options.entitlements = Entitlements::read("<plist version=\"1.0\"><dict><key>a</key><true/></dict></plist>");

  bundle.withScript().sign(options);

  EXPECT_EQ(signatureFiles(bundle)["CodeEntitlements"], options.entitlements->propertyListBlob());
  EXPECT_EQ(signatureFiles(bundle)["CodeEntitlementDER"], options.entitlements->derBlob());
  EXPECT_EQ(verifyCode(bundle.url()).text("x"), "");
}

TEST(CodeSignerTest, CodeWithSidebandDataIsRefused) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withScript();
  if (setxattr(bundle.executable().c_str(), "user.com.apple.FinderInfo", "x", 1, 0) != 0) {
    GTEST_SKIP() << "the file system has no attributes";
  }

  try {
    bundle.sign();
    FAIL() << "signed what would not verify";
  } catch (const CodeSignatureError& error) {
    EXPECT_EQ(error.code(), sidebandDataRefused);
  }
}

}  // namespace
}  // namespace quillon
