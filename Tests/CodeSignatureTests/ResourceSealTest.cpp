#include <gtest/gtest.h>

#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/ResourceSeal.h"

namespace quillon {
namespace {

ResourceSeal sampleSeal() {
  ResourceSeal seal{.rules = ResourceRules::standard(2), .resources = {}};
  seal.resources["Resources/a"] = {.hashes = {{CodeHashType::sha256, std::string(32, 'a')}}};
  seal.resources["Resources/de.lproj/b"] = {
      .hashes = {{CodeHashType::sha1, std::string(20, 'b')}, {CodeHashType::sha256, std::string(32, 'c')}},
      .isOptional = true};
  seal.resources["Resources/l"] = {.linkText = "a"};
  seal.resources["PlugIns/n.bundle"] = {.requirement = "always", .codeDirectoryHash = std::string(20, 'd')};
  return seal;
}

TEST(ResourceSealTest, WhatIsWrittenIsReadBack) {
  const ResourceSeal seal = sampleSeal();

  const ResourceSeal read = parseResourceSeal(buildResourceSeal(seal, {{"Resources/a", std::string(20, 'x')}}));

  EXPECT_EQ(read.version, 2);
  EXPECT_EQ(read.rules.count(), 13U);
  ASSERT_EQ(read.resources.size(), 4U);
  EXPECT_EQ(read.resources.at("Resources/a").hashes, seal.resources.at("Resources/a").hashes);
  EXPECT_EQ(read.resources.at("Resources/de.lproj/b").hashes, seal.resources.at("Resources/de.lproj/b").hashes);
  EXPECT_TRUE(read.resources.at("Resources/de.lproj/b").isOptional);
  EXPECT_EQ(read.resources.at("Resources/l").linkText, "a");
  EXPECT_EQ(read.resources.at("PlugIns/n.bundle").requirement, "always");
  EXPECT_EQ(read.resources.at("PlugIns/n.bundle").codeDirectoryHash, std::string(20, 'd'));
}

TEST(ResourceSealTest, VersionOneListHoldsOnlyWhatItsRulesSeal) {
  const std::string text = buildResourceSeal(sampleSeal(), {{"Resources/a", std::string(20, 'x')}, {"MacOS/b", "y"}});

  EXPECT_EQ(text.find("MacOS/b"), std::string::npos);
  EXPECT_NE(text.find("eHh4eHh4eHh4eHh4eHh4eHh4eHg="), std::string::npos);
}

TEST(ResourceSealTest, OlderListIsReadWhenItIsTheOnlyOne) {
  const ResourceSeal seal = parseResourceSeal(
      "<plist version=\"1.0\"><dict><key>files</key><dict><key>Resources/a</key><data>AAAA</data></dict>"
      "<key>rules</key><dict><key>^Resources/</key><true/></dict></dict></plist>");

  EXPECT_EQ(seal.version, 1);
  EXPECT_EQ(seal.resources.at("Resources/a").hashes.at(CodeHashType::sha1), std::string(3, '\0'));
}

CodeSignatureErrorCode errorOf(const std::string& files2) {
  try {
    (void)parseResourceSeal("<plist version=\"1.0\"><dict><key>files2</key>" + files2 +
                            "<key>rules2</key><dict/></dict></plist>");
  } catch (const CodeSignatureError& error) {
    return error.code();
  }
  return {};
}

TEST(ResourceSealTest, WrongShapesAreRefused) {
  using enum CodeSignatureErrorCode;
  EXPECT_EQ(errorOf("<string>x</string>"), resourcesInvalid);
  EXPECT_EQ(errorOf("<dict><key>a</key><string>x</string></dict>"), resourcesInvalid);
  EXPECT_EQ(errorOf("<dict><key>a</key><dict/></dict>"), resourcesInvalid);
  EXPECT_EQ(errorOf("<dict><key>a</key><dict><key>hash2</key><string>x</string></dict></dict>"), resourcesInvalid);
  EXPECT_EQ(errorOf("<dict><key>a</key><dict><key>symlink</key><string>x</string><key>hash2</key><data></data></dict>"
                    "</dict>"),
            resourcesInvalid);
  EXPECT_EQ(errorOf("<dict>"), badPropertyList);
  EXPECT_THROW((void)parseResourceSeal(""), CodeSignatureError);
}

}  // namespace
}  // namespace quillon
