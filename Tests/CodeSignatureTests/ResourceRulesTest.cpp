#include <gtest/gtest.h>

#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/ResourceRules.h"

namespace quillon {
namespace {

TEST(ResourceRulesTest, StandardRulesSortFilesAsTheyAreSealed) {
  const ResourceRules rules = ResourceRules::standard(2);

  EXPECT_EQ(rules.count(), 13U);
  EXPECT_TRUE(rules.find("MacOS/tool")->isNested);
  EXPECT_TRUE(rules.find("PlugIns/a.bundle")->isNested);
  EXPECT_TRUE(rules.find("Library/LoginItems/a.app")->isNested);
  EXPECT_TRUE(rules.find("file")->isNested);
  EXPECT_FALSE(rules.find("Resources/file")->isNested);
  EXPECT_FALSE(rules.find("PlugIns/a.bundle.dSYM")->isNested);
  EXPECT_TRUE(rules.find("Resources/de.lproj/x")->isOptional);
  EXPECT_FALSE(rules.find("Resources/Base.lproj/x")->isOptional);
  EXPECT_FALSE(rules.includes("Info.plist"));
  EXPECT_FALSE(rules.includes("PkgInfo"));
  EXPECT_FALSE(rules.includes("Resources/a/.DS_Store"));
  EXPECT_FALSE(rules.includes("Resources/de.lproj/locversion.plist"));
  EXPECT_TRUE(rules.includes("Resources/Info.plist"));
  EXPECT_TRUE(rules.includes("version.plist"));
  EXPECT_TRUE(rules.isStrict(2));
}

TEST(ResourceRulesTest, PropertyListIsReadBack) {
  const ResourceRules rules = ResourceRules::standard(2);

  const ResourceRules read = ResourceRules::fromPropertyList(rules.propertyList());

  EXPECT_EQ(read.propertyList(), rules.propertyList());
  EXPECT_EQ(ResourceRules::fromPropertyList(ResourceRules::standard(1).propertyList()).count(), 5U);
}

TEST(ResourceRulesTest, HeaviestRuleWinsAndFalseMeansOmit) {
  const ResourceRules rules({{.pattern = "^a", .weight = 1}, {.pattern = "^ab", .weight = 2, .isOmitted = true}});

  EXPECT_TRUE(rules.includes("a"));
  EXPECT_FALSE(rules.includes("ab"));
  EXPECT_FALSE(rules.includes("b"));
  EXPECT_EQ(rules.find("b"), nullptr);
  const ResourceRules omitting = ResourceRules::fromPropertyList(
      QuillonPropertyListValue(QuillonPropertyListValue::Dictionary{{"^a", QuillonPropertyListValue(false)}}));
  EXPECT_TRUE(omitting.find("a")->isOmitted);
}

TEST(ResourceRulesTest, StrictRulesSealEverythingAndOmitNothingElse) {
  EXPECT_FALSE(ResourceRules(std::vector<ResourceRule>{}).isStrict(2));
  EXPECT_FALSE(ResourceRules({{.pattern = "^.*", .isOmitted = true}}).isStrict(2));
  EXPECT_FALSE(ResourceRules({{.pattern = "^.*"}, {.pattern = "^x", .isOmitted = true}}).isStrict(2));
  EXPECT_TRUE(ResourceRules({{.pattern = "^.*"}, {.pattern = "^PkgInfo$", .isOmitted = true}}).isStrict(2));
  EXPECT_TRUE(ResourceRules::standard(1).isStrict(1));
}

TEST(ResourceRulesTest, WrongShapesAreRefused) {
  using List = QuillonPropertyListValue;
  EXPECT_THROW((void)ResourceRules::fromPropertyList(List("x")), CodeSignatureError);
  EXPECT_THROW((void)ResourceRules::fromPropertyList(List(List::Dictionary{{"^a", List("x")}})), CodeSignatureError);
  EXPECT_THROW((void)ResourceRules::fromPropertyList(
                   List(List::Dictionary{{"^a", List(List::Dictionary{{"weight", List("x")}})}})),
               CodeSignatureError);
  EXPECT_THROW((void)ResourceRules::fromPropertyList(
                   List(List::Dictionary{{"^a", List(List::Dictionary{{"omit", List("x")}})}})),
               CodeSignatureError);
  EXPECT_THROW(ResourceRules(std::vector<ResourceRule>(1000, {.pattern = "a"})), CodeSignatureError);
}

}  // namespace
}  // namespace quillon
