#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <map>

#include "CodeSignature/CodeDirectory.h"
#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/CodeSignatureVerdict.h"
#include "CodeSignature/CodeSigner.h"
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

}  // namespace
}  // namespace quillon
