#include <gtest/gtest.h>

#include "CodeSignature/ObjectIdentifier.h"
#include "CodeSignature/RequirementEvaluation.h"
#include "CodeSignature/RequirementText.h"

namespace quillon {
namespace {

class RequirementEvaluationTest : public ::testing::Test {
 protected:
  RequirementEvaluationTest() {
    CertificateFacts leaf;
    leaf.sha1 = std::string(20, '\x11');
    leaf.subject = {{"CN", "Leaf"}, {"OU", "TEAM"}, {"OU", "OTHER"}};
    leaf.extensions = {{objectIdentifierContent("1.2.3").value(), std::string("\x0C\x05value", 7)}};
    CertificateFacts root;
    root.sha1 = std::string(20, '\x22');
    chain_.certificates = {leaf, root};
    information_ = QuillonPropertyListValue(QuillonPropertyListValue::Dictionary{
        {"Version", QuillonPropertyListValue("1.10")},
        {"Yes", QuillonPropertyListValue(true)},
        {"No", QuillonPropertyListValue(false)},
        {"List", QuillonPropertyListValue(
                     QuillonPropertyListValue::Array{QuillonPropertyListValue("a"), QuillonPropertyListValue("b")})}});
    subject_.identifier = "com.example";
    subject_.codeDirectoryHashes = {std::string(20, '\x33')};
    subject_.chain = &chain_;
    subject_.information = &information_;
    subject_.platform = 4;
  }

  [[nodiscard]] bool meets(const std::string& text) const {
    return meetsRequirement(subject_, parseRequirementText(text));
  }

  CertificateChain chain_;
  QuillonPropertyListValue information_{QuillonPropertyListValue::Dictionary{}};
  RequirementSubject subject_;
};

std::string hashOf(std::string_view pair) {
  std::string digits;
  for (int i = 0; i < 20; ++i) digits += pair;
  return "H\"" + digits + "\"";
}

TEST_F(RequirementEvaluationTest, IdentifierHashAndPlatformAreCompared) {
  EXPECT_TRUE(meets("identifier com.example"));
  EXPECT_FALSE(meets("identifier com.Example"));
  EXPECT_TRUE(meets("cdhash " + hashOf("33")));
  EXPECT_FALSE(meets("cdhash " + hashOf("34")));
  EXPECT_TRUE(meets("platform = 4"));
  EXPECT_FALSE(meets("platform = 5"));
}

TEST_F(RequirementEvaluationTest, CertificatesAreFoundFromBothEnds) {
  EXPECT_TRUE(meets("certificate leaf = " + hashOf("11")));
  EXPECT_TRUE(meets("certificate root = " + hashOf("22")));
  EXPECT_TRUE(meets("certificate -2 = " + hashOf("11")));
  EXPECT_TRUE(meets("certificate 1 = " + hashOf("22")));
  EXPECT_FALSE(meets("certificate 2 = " + hashOf("22")));
  EXPECT_FALSE(meets("certificate -3 = " + hashOf("11")));
}

TEST_F(RequirementEvaluationTest, SubjectAndExtensionsAreMatched) {
  EXPECT_TRUE(meets("certificate leaf[subject.OU] = TEAM"));
  EXPECT_TRUE(meets("certificate leaf[subject.OU] = OTHER"));
  EXPECT_TRUE(meets("certificate leaf[subject.O] absent"));
  EXPECT_FALSE(meets("certificate leaf[subject.CN] = Lea"));
  EXPECT_TRUE(meets("certificate leaf[subject.CN] = Lea*"));
  EXPECT_TRUE(meets("certificate leaf[field.1.2.3]"));
  EXPECT_TRUE(meets("certificate leaf[field.1.2.3] = value"));
  EXPECT_FALSE(meets("certificate leaf[field.1.2.4]"));
  EXPECT_TRUE(meets("certificate leaf[field.1.2.4] absent"));
}

TEST_F(RequirementEvaluationTest, InformationIsMatchedByNumbersInText) {
  EXPECT_TRUE(meets("info[Version] > \"1.9\""));
  EXPECT_TRUE(meets("info[Version] >= \"1.10\""));
  EXPECT_FALSE(meets("info[Version] < \"1.10\""));
  EXPECT_TRUE(meets("info[Yes]"));
  EXPECT_FALSE(meets("info[No]"));
  EXPECT_TRUE(meets("info[List] = b"));
  EXPECT_FALSE(meets("info[Missing]"));
  EXPECT_TRUE(meets("info[Missing] absent"));
  EXPECT_FALSE(meets("info[Version] absent"));
  EXPECT_FALSE(meets("entitlement[x]"));
}

TEST_F(RequirementEvaluationTest, OperatorsCombine) {
  EXPECT_TRUE(meets("always and ! never"));
  EXPECT_TRUE(meets("never or always"));
  EXPECT_FALSE(meets("always and never"));
}

TEST_F(RequirementEvaluationTest, AnchorsAreMetOnlyByKnownRoots) {
  EXPECT_FALSE(meets("anchor apple generic"));
  EXPECT_FALSE(meets("anchor trusted"));
  chain_.hasKnownAnchor = true;
  EXPECT_TRUE(meets("anchor trusted"));
  EXPECT_TRUE(meets("certificate root trusted"));
  chain_.isAnchoredByApple = true;
  EXPECT_TRUE(meets("anchor apple generic"));
  EXPECT_FALSE(meets("anchor apple"));
}

TEST_F(RequirementEvaluationTest, WhatNeedsThePlatformsServicesIsNotMet) {
  EXPECT_FALSE(meets("notarized"));
  EXPECT_FALSE(meets("legacy"));
  EXPECT_FALSE(meets("anchor apple Name"));
}

TEST_F(RequirementEvaluationTest, AdHocCodeHasNoCertificates) {
  subject_.chain = nullptr;

  EXPECT_FALSE(meets("certificate leaf = " + hashOf("11")));
  EXPECT_FALSE(meets("certificate leaf[subject.O] absent"));
  EXPECT_FALSE(meets("anchor trusted"));
}

}  // namespace
}  // namespace quillon
