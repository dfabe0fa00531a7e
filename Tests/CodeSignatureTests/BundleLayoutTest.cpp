#include <gtest/gtest.h>

#include <filesystem>

#include "CodeSignature/BundleLayout.h"
#include "CodeSignature/CodeSignatureError.h"
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
