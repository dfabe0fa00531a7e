#include <gtest/gtest.h>

#include "CodeSignature/RequirementSet.h"
#include "CodeSignature/RequirementText.h"
#include "CodeSignature/SigningDefaults.h"
#include "QuillonCore/Values/QuillonError.h"
#include "Support/MachOBuilder.h"
#include "Support/SignedBundleBuilder.h"
#include "Support/SigningIdentityMaker.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using testing::MachOBuilder;
using testing::SignedBundleBuilder;
using testing::TemporaryDirectory;

const std::set kOnlySHA256{CodeHashType::sha256};
const std::set kBothHashes{CodeHashType::sha1, CodeHashType::sha256};

CodeObject fileWith(const TemporaryDirectory& folder, const std::string& name, const std::string& content) {
  testing::writeFile(folder / name, content);
  return CodeObject::openAt(QuillonURL::fileURL((folder / name).string()));
}

std::string informationWith(const std::string& identifier) {
  return "<plist version=\"1.0\"><dict><key>CFBundleIdentifier</key><string>" + identifier + "</string></dict></plist>";
}

TEST(SigningDefaultsTest, IdentifierOfABundleIsThatOfItsInformationOrItsName) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withScript();
  EXPECT_EQ(signingIdentifier(CodeObject::openAt(bundle.url()), {}), "com.example.example");
  EXPECT_EQ(signingIdentifier(CodeObject::openAt(bundle.url()), {.identifier = "other"}), "other");

  testing::writeFile(bundle / "Info.plist", "<plist version=\"1.0\"><dict/></plist>");

  EXPECT_EQ(signingIdentifier(CodeObject::openAt(bundle.url()), {}), "Example");
}

TEST(SigningDefaultsTest, IdentifierOfAFileIsThatInTheImageOrItsName) {
  const TemporaryDirectory folder;
  const SigningOptions options = testing::sharedSigningOptions();

  EXPECT_EQ(signingIdentifier(fileWith(folder, "a", MachOBuilder().withInformation(informationWith("b")).build()), {}),
            "b");
  EXPECT_EQ(signingIdentifier(fileWith(folder, "tool", MachOBuilder().build()), options), "tool");
  EXPECT_EQ(signingIdentifier(fileWith(folder, "lib.dylib", MachOBuilder().build()), options), "lib");
  EXPECT_EQ(signingIdentifier(fileWith(folder, "tool", MachOBuilder().withInformation("<").build()), options), "tool");
}

TEST(SigningDefaultsTest, FileThatNobodySignsHasAUniqueIdentifier) {
  const TemporaryDirectory folder;

  EXPECT_EQ(signingIdentifier(fileWith(folder, "tool", MachOBuilder().build()), {}),
            "tool-55554944" + hexadecimal("0123456789ABCDEF"));
}

TEST(SigningDefaultsTest, IdentifierWithANULCharacterIsRefused) {
  const TemporaryDirectory folder;
  const CodeObject object = fileWith(folder, "tool", MachOBuilder().build());

  EXPECT_THROW((void)signingIdentifier(object, {.identifier = std::string("a\0b", 3)}), QuillonError);
}

TEST(SigningDefaultsTest, HashesAreThoseThatTheOldestSystemUnderstands) {
  const TemporaryDirectory folder;
  const CodeObject recent = fileWith(folder, "recent", MachOBuilder().build());
  const CodeObject unknown =
      fileWith(folder, "unknown", MachOBuilder().withVersionCommand(testing::MachOVersionCommand::none).build());
  SignedBundleBuilder oldScript(folder / "Old.app");
  oldScript.withScript().withInformation("LSMinimumSystemVersion", "10.11.3");
  SignedBundleBuilder recentScript(folder / "Recent.app");
  recentScript.withScript().withInformation("LSMinimumSystemVersion", "10.11.4");

  EXPECT_EQ(signingHashTypes(recent, {}), kOnlySHA256);
  EXPECT_EQ(signingHashTypes(unknown, {}), kBothHashes);
  EXPECT_EQ(signingHashTypes(CodeObject::openAt(oldScript.url()), {}), kBothHashes);
  EXPECT_EQ(signingHashTypes(CodeObject::openAt(recentScript.url()), {}), kOnlySHA256);
  EXPECT_EQ(signingHashTypes(recent, {.hashTypes = std::set{CodeHashType::sha384}}), std::set{CodeHashType::sha384});
}

TEST(SigningDefaultsTest, RequirementNamesTheIdentifierAndTheSigner) {
  EXPECT_EQ(signingRequirements("com.example", {}), buildRequirementSet({}));

  const RequirementSet set = parseRequirementSet(signingRequirements("com.example", testing::sharedSigningOptions()));

  ASSERT_EQ(set.size(), 1U);
  EXPECT_TRUE(
      requirementText(set.at(RequirementPurpose::designated)).starts_with("identifier com.example and certificate "));
}

}  // namespace
}  // namespace quillon
