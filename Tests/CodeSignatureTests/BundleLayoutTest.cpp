#include <gtest/gtest.h>

#include <filesystem>

#include "CodeSignature/BundleLayout.h"
#include "CodeSignature/CodeSignatureError.h"
#include "Support/FrameworkBuilder.h"
#include "Support/SignedBundleBuilder.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

BundleLayout open(const testing::SignedBundleBuilder& bundle) {
  return openBundle(openFolder(AT_FDCWD, bundle.path().string()), bundle.path().string());
}

TEST(BundleLayoutTest, ExecutableIsTheDeclaredOneElseTheOneNamedLikeTheBundleElseTheInformation) {
  const testing::TemporaryDirectory folder;
  testing::SignedBundleBuilder bundle(folder / "Example.app");
  EXPECT_EQ(open(bundle).mainExecutable, "Info.plist");
  bundle.withFile("MacOS/Example", "x");
  EXPECT_EQ(open(bundle).mainExecutable, "MacOS/Example");
  bundle.withFile("MacOS/other", "x").withInformation("CFBundleExecutable", "other");
  EXPECT_EQ(open(bundle).mainExecutable, "MacOS/other");
  EXPECT_TRUE(open(bundle).isApplication());
  EXPECT_EQ(open(bundle).baseName(), "Example");
  EXPECT_EQ(open(bundle).informationText("CFBundleIdentifier"), "com.example.example");
}

TEST(BundleLayoutTest, LinkedFoldersAreNotFollowed) {
  const testing::TemporaryDirectory folder;
  testing::SignedBundleBuilder bundle(folder / "Example.app");
  testing::writeFile(folder / "elsewhere/Example", "x");
  std::filesystem::create_symlink(folder / "elsewhere", bundle / "MacOS");
  EXPECT_EQ(open(bundle).mainExecutable, "Info.plist");

  std::filesystem::rename(bundle.contents(), folder / "Contents");
  std::filesystem::create_symlink(folder / "Contents", bundle.contents());
  EXPECT_THROW((void)open(bundle), CodeSignatureError);
}

TEST(BundleLayoutTest, LinkInsteadOfContentsOrVersionsMakesNoOtherFormOfBundle) {
  const testing::TemporaryDirectory folder;
  const testing::SignedBundleBuilder application(folder / "Example.app");
  testing::FrameworkBuilder framework(folder / "Kit.framework");
  const auto openFramework = [&framework] {
    return openBundle(openFolder(AT_FDCWD, framework.path().string()), framework.path().string());
  };
  ASSERT_EQ(openFramework().form, BundleForm::framework);

  // An application to everyone who follows the link.
  std::filesystem::rename(application.contents(), framework / "Versions/A/Contents");
  std::filesystem::create_symlink("Versions/A/Contents", framework / "Contents");
  EXPECT_THROW((void)openFramework(), CodeSignatureError);

  std::filesystem::remove(framework / "Contents");
  std::filesystem::rename(framework / "Versions", folder / "Versions");
  std::filesystem::create_symlink("../Versions", framework / "Versions");
  EXPECT_THROW((void)openFramework(), CodeSignatureError);
}

TEST(BundleLayoutTest, MalformedInformationIsNotedForTheVerifierToReport) {
  const testing::TemporaryDirectory folder;
  testing::SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withFile("MacOS/Example", "x");
  for (const char* content : {"<", "", "<plist version=\"1.0\"><array/></plist>"}) {
    testing::writeFile(bundle / "Info.plist", content);
    EXPECT_TRUE(open(bundle).isInformationMalformed) << content;
  }
}

}  // namespace
}  // namespace quillon
