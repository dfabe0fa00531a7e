#include <gtest/gtest.h>

#include <string>

#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/RequirementCodec.h"
#include "CodeSignature/RequirementText.h"

namespace quillon {
namespace {

const std::string kHash = "H\"0123456789abcdef0123456789abcdef01234567\"";

class RequirementTextRoundTripTest : public ::testing::TestWithParam<std::string> {};

TEST_P(RequirementTextRoundTripTest, TextAndBinaryFormsAreReadBack) {
  const RequirementExpression expression = parseRequirementText(GetParam());

  EXPECT_EQ(requirementText(expression), GetParam());
  EXPECT_EQ(parseRequirementBlob(buildRequirementBlob(expression)), expression);
}

const std::string kTexts[] = {
    "always",
    "never",
    "identifier com.example.a",
    "identifier \"com.example.a-b\"",
    "identifier \"9lives\"",
    "identifier \"and\"",
    "identifier \"a\\\"b\\\\c\"",
    "anchor apple",
    "anchor apple generic",
    "anchor trusted",
    "anchor apple Name",
    "certificate leaf = " + kHash,
    "certificate root = " + kHash,
    "certificate 1 = " + kHash,
    "certificate -2 = " + kHash,
    "certificate root trusted",
    "certificate leaf[subject.CN] = \"A B\"",
    "certificate leaf[subject.OU] = *x",
    "certificate leaf[subject.OU] = x*",
    "certificate leaf[subject.OU] ~ x",
    "certificate 1[field.1.2.840.113635.100.6.2.6] /* exists */",
    "certificate leaf[field.1.2.3] absent ",
    "certificate leaf[policy.2.5.29.32] /* exists */",
    "certificate leaf[timestamp.1.2.3] >= timestamp \"20200229120000Z\"",
    "info[CFBundleVersion] >= \"17.4\"",
    "info[Key] < a",
    "info[Key] <= a",
    "info[Key] > a",
    "entitlement[com.example.key] /* exists */",
    "cdhash " + kHash,
    "platform = 7",
    "notarized",
    "legacy",
    "! notarized",
    "! (notarized or legacy)",
    "always and never and legacy",
    "always or never and legacy",
    "(always or never) and legacy",
    "always and (never and legacy)",
    "always or (never or legacy)",
};
INSTANTIATE_TEST_SUITE_P(Texts, RequirementTextRoundTripTest, ::testing::ValuesIn(kTexts));

TEST(RequirementTextTest, CommentsAndBlanksSayNothing) {
  EXPECT_EQ(parseRequirementText("  /* a */ always // b\n and # c\n\tnever "),
            parseRequirementText("always and never"));
}

TEST(RequirementTextTest, SynonymsMeanTheSame) {
  EXPECT_EQ(parseRequirementText("true"), parseRequirementText("always"));
  EXPECT_EQ(parseRequirementText("identifier = a"), parseRequirementText("identifier a"));
  EXPECT_EQ(parseRequirementText("info[k] exists"), parseRequirementText("info[k]"));
  EXPECT_EQ(parseRequirementText("info[k] = *a*"), parseRequirementText("info[k] ~ a"));
  EXPECT_EQ(parseRequirementText("cert leaf trusted"), parseRequirementText("certificate leaf trusted"));
}

TEST(RequirementTextTest, WhatDoesNotParseIsRefused) {
  for (const std::string& text :
       {std::string(), std::string("identifier"), std::string("identifier \"a"), std::string("always and"),
        std::string("(always"), std::string("always)"), std::string("always never"), std::string("cdhash H\"12\""),
        std::string("cdhash H\"0g\""), std::string("certificate leaf["), std::string("certificate leaf[field.x]"),
        std::string("certificate x = ") + kHash, std::string("/* open"), std::string("platform = x"),
        std::string("info[k] = timestamp \"20201301000000Z\""), std::string("unknown")}) {
    EXPECT_THROW((void)parseRequirementText(text), CodeSignatureError) << text;
  }
}

TEST(RequirementTextTest, DeepNestingAndLongChainsAreRefused) {
  std::string chain = "always";
  for (int i = 0; i < 10'000; ++i) chain += " or always";

  EXPECT_THROW((void)parseRequirementText(std::string(10'000, '(') + "always"), CodeSignatureError);
  EXPECT_THROW((void)parseRequirementText(std::string(10'000, '!') + "always"), CodeSignatureError);
  EXPECT_THROW((void)parseRequirementText(chain), CodeSignatureError);
}

}  // namespace
}  // namespace quillon
