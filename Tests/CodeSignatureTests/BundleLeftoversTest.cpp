#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "CodeSignature/BundleLeftovers.h"
#include "CodeSignature/CodeObject.h"
#include "CodeSignature/CodeSignatureVerdict.h"
#include "CodeSignature/CodeSigner.h"
#include "Support/FrameworkBuilder.h"
#include "Support/SignedBundleBuilder.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;
using enum CodeSignatureErrorCode;
using testing::FrameworkBuilder;
using testing::SignedBundleBuilder;

/// An application with a framework in it, both signed.
class FrameworkRootTest : public ::testing::Test {
 protected:
  FrameworkRootTest() { outer_.withScript(); }

  void sign() { outer_.sign(); }
  [[nodiscard]] CodeSignatureVerdict verdict(bool isStrict = true) const {
    return verifyCode(outer_.url(), {.isStrict = isStrict});
  }

  testing::TemporaryDirectory folder_;
  SignedBundleBuilder outer_{folder_ / "Example.app"};
  FrameworkBuilder framework_{outer_ / "Frameworks/Kit.framework"};
};

TEST_F(FrameworkRootTest, SignedFrameworkVerifiesInItsBundleAndAlone) {
  sign();

  EXPECT_EQ(verdict().text("P"), "");
  EXPECT_EQ(verifyCode(framework_.url()).text("P"), "");
  EXPECT_EQ(verifyCode(QuillonURL::fileURL((framework_ / "Versions/A").string())).text("P"), "");
}

TEST_F(FrameworkRootTest, ChangedFrameworkIsReportedWithItsPath) {
  sign();

  framework_.withFile("Versions/A/Resources/added", "x");

  EXPECT_EQ(verdict().text("P"), "P: a sealed resource is missing or invalid\nfile added: " +
                                     (framework_ / "Versions/A/Resources/added").string() +
                                     "\nIn subcomponent: " + framework_.path().string() + "\n");
}

struct RootChange {
  const char* name;
  std::function<void(const FrameworkBuilder&)> make;
  std::optional<CodeSignatureErrorCode> failure;
};

class FrameworkRootChangeTest : public FrameworkRootTest, public ::testing::WithParamInterface<RootChange> {};

TEST_P(FrameworkRootChangeTest, IsForStrictVerificationToJudge) {
  sign();
  GetParam().make(framework_);

  EXPECT_EQ(verdict().failure, GetParam().failure);
  EXPECT_EQ(verdict(false).text("P"), "");
}

const RootChange kRootChanges[] = {
    {"File", [](const auto& f) { testing::writeFile(f / "stray", "x"); }, unsealedFrameworkRootContents},
    {"Folder", [](const auto& f) { fs::create_directory(f / "Stray"); }, unsealedFrameworkRootContents},
    {"LinkOut", [](const auto& f) { fs::create_symlink("/etc", f / "etc"); }, unsealedFrameworkRootContents},
    {"LinkToAnotherName", [](const auto& f) { fs::create_symlink("Versions/Current/Kit", f / "Tool"); },
     unsealedFrameworkRootContents},
    {"LinkThroughTheParent", [](const auto& f) { fs::create_symlink("Versions/../Tool", f / "Tool"); },
     unsealedFrameworkRootContents},
    {"FileBesideTheVersions", [](const auto& f) { testing::writeFile(f / "Versions/stray", "x"); },
     unsealedFrameworkRootContents},
    {"FolderSettings", [](const auto& f) { testing::writeFile(f / ".DS_Store", "x"); }, std::nullopt},
    {"ModuleMap", [](const auto& f) { testing::writeFile(f / "module.map", "x"); }, std::nullopt},
    {"LinkIntoTheVersion", [](const auto& f) { fs::create_symlink("./Versions/A/Headers", f / "Headers"); },
     std::nullopt},
    {"AnotherProgramAtTheTop",
     [](const auto& f) {
       fs::remove(f / "Kit");
       testing::writeFile(f / "Kit", "#!/bin/sh\necho another\n");
     },
     ambiguousBundleFormat},
    {"UnsignedVersion", [](FrameworkBuilder f) { f.withVersion("B", "#!/bin/sh\n"); }, badFrameworkVersion},
    {"EmptyVersion", [](const auto& f) { fs::create_directory(f / "Versions/B"); }, badFrameworkVersion},
};
std::string changeName(const ::testing::TestParamInfo<RootChange>& info) {
  return info.param.name;
}
INSTANTIATE_TEST_SUITE_P(Changes, FrameworkRootChangeTest, ::testing::ValuesIn(kRootChanges), changeName);

TEST_F(FrameworkRootTest, SecondInformationThatNoSlotSealsIsRefused) {
  sign();

  framework_.withFile("Versions/A/Info.plist", "<plist><dict/></plist>");

  EXPECT_EQ(verdict().text("P"), "P: a sealed resource is missing or invalid\nfile added: " +
                                     (framework_ / "Versions/A/Info.plist").string() +
                                     "\nIn subcomponent: " + framework_.path().string() + "\n");
}

TEST_F(FrameworkRootTest, OtherVersionOfTheSameMakerIsGood) {
  framework_.withVersion("B", "#!/bin/sh\necho other\n");
  const QuillonURL other = QuillonURL::fileURL((framework_ / "Versions/B").string());
  signCode(other, testing::sharedSigningOptions());
  sign();
  EXPECT_EQ(verdict().text("P"), "");

  signCode(other, {.replacesSignature = true});  // no longer the maker's
  EXPECT_EQ(verdict().text("P"), "P: embedded framework contains modified or invalid version\nfile modified: " +
                                     (framework_ / "Versions/B").string() +
                                     "\nIn subcomponent: " + framework_.path().string() + "\n");
}

TEST_F(FrameworkRootTest, OtherVersionsOfAFrameworkThatStandsAloneCountToo) {
  signCode(framework_.url(), testing::sharedSigningOptions());
  EXPECT_EQ(verifyCode(framework_.url()).text("P"), "");

  framework_.withVersion("B", "#!/bin/sh\n");

  EXPECT_EQ(verifyCode(framework_.url()).failure, badFrameworkVersion);
}

TEST_F(FrameworkRootTest, OtherVersionIsNoFrameworkItself) {
  // Its own versions would be out of the reach of any seal.
  const FrameworkBuilder inner(framework_ / "Versions/Kit");
  signCode(inner.url(), testing::sharedSigningOptions());
  sign();

  EXPECT_EQ(verdict().failure, badFrameworkVersion);
}

TEST(BundleLeftoversTest, SignatureInsideTheCodeLeavesTheSealAloneInItsFolder) {
  const testing::TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withScript().signAdHoc();
  const CodeObject object = CodeObject::openAt(bundle.url());
  const LoadedSignature signature = loadCodeDirectories(object.native());

  EXPECT_THROW(checkSignatureFolder(*object.bundle(), signature, true), CodeSignatureError);
  fs::remove(bundle / "_CodeSignature/CodeDirectory");
  fs::remove(bundle / "_CodeSignature/CodeRequirements");
  EXPECT_NO_THROW(checkSignatureFolder(*object.bundle(), signature, true));  // CodeSignature is empty
  testing::writeFile(bundle / "_CodeSignature/CodeSignature", "x");
  EXPECT_THROW(checkSignatureFolder(*object.bundle(), signature, true), CodeSignatureError);
}

}  // namespace
}  // namespace quillon
