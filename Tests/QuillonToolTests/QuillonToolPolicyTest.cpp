#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "QuillonTool/QuillonToolPolicy.h"
#include "QuillonToolTests/ToolRun.h"
#include "Support/ApplicationBundleBuilder.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using testing::ToolResult;

class QuillonToolPolicyTest : public ::testing::Test {
 protected:
  void makeBundle(const std::string& identifier = "org.example.App") const {
    testing::makeApplicationBundle(bundle_, {.identifier = identifier});
  }
  void writeTable(const std::string& language, const std::string& text) const {
    testing::writeFile(bundle_ / "Contents/Resources" / (language + ".lproj") / "Localizable.strings", text);
  }
  ToolResult policy(const std::vector<std::string>& options = {}) const {
    std::vector<std::string> words = {"policy", bundle_.string()};
    words.insert(words.end(), options.begin(), options.end());
    return testing::ToolRun()(words);
  }

  const testing::TemporaryDirectory folder_;
  const std::filesystem::path bundle_ = folder_ / "Foo & Co.app";
};

TEST_F(QuillonToolPolicyTest, WritesTheActionOfTheHostsOwnRight) {
  makeBundle();

  const ToolResult result = policy();

  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.error, IsEmpty());
  EXPECT_THAT(result.output, HasSubstr("<vendor><![CDATA[Foo & Co]]></vendor>"));
  EXPECT_THAT(result.output, HasSubstr("<action id=\"org.example.App.quillon-update\">"));
  EXPECT_THAT(result.output, HasSubstr("<description><![CDATA[Update Foo & Co]]></description>"));
  EXPECT_THAT(result.output,
              HasSubstr("<message><![CDATA[Foo & Co needs permission to update the installed app.]]></message>"));
  EXPECT_THAT(result.output, Not(HasSubstr("xml:lang")));
}

TEST_F(QuillonToolPolicyTest, HasThePromptInEveryLanguageOfTheBundle) {
  makeBundle();
  writeTable("de",
             R"("%@ needs permission to update the installed app." = "%@ darf nur mit Erlaubnis erneuert werden.";)");
  writeTable("pt-BR", R"("%@ needs permission to update the installed app." = "Permita atualizar %1$@.";
                         "Update %@" = "Atualizar %@";)");
  writeTable("fr", R"("Something" = "else";)");
  writeTable("it", "no table (");

  const std::string output = policy().output;

  EXPECT_THAT(
      output,
      HasSubstr("<message xml:lang=\"de\"><![CDATA[Foo & Co darf nur mit Erlaubnis erneuert werden.]]></message>"));
  EXPECT_THAT(output, HasSubstr("<message xml:lang=\"pt_BR\"><![CDATA[Permita atualizar Foo & Co.]]></message>"));
  EXPECT_THAT(output, HasSubstr("<description xml:lang=\"pt_BR\"><![CDATA[Atualizar Foo & Co]]></description>"));
  EXPECT_THAT(output, Not(HasSubstr("\"fr\"")));
  EXPECT_THAT(output, Not(HasSubstr("\"it\"")));
}

TEST_F(QuillonToolPolicyTest, WritesAFileWhereToldTo) {
  makeBundle();
  const std::string printed = policy().output;

  const ToolResult result = policy({"--output", (folder_ / "app.policy").string()});

  EXPECT_EQ(result, (ToolResult{.status = 0}));
  EXPECT_EQ(testing::readFile(folder_ / "app.policy"), printed);
}

TEST_F(QuillonToolPolicyTest, AFileThatCannotBeWrittenIsAFailure) {
  makeBundle();

  const ToolResult result = policy({"--output", (folder_ / "none/app.policy").string()});

  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.error, HasSubstr("Cannot write " + (folder_ / "none").string()));
}

TEST_F(QuillonToolPolicyTest, AnIdentifierThatPolkitHasNoPlaceForIsRefused) {
  makeBundle("org.example_x.App");

  EXPECT_EQ(policy(), (ToolResult{.status = 1,
                                  .output = {},
                                  .error = "quillon policy: polkit has no place for the bundle identifier "
                                           "\"org.example_x.App\": names of actions are made of letters, digits, "
                                           "periods and hyphens\n"}));
}

TEST_F(QuillonToolPolicyTest, ABundleWithoutIdentifierIsRefused) {
  makeBundle("");
  EXPECT_EQ(policy().status, 1);
  EXPECT_THAT(policy().error, HasSubstr("has no CFBundleIdentifier"));

  std::filesystem::remove(bundle_ / "Contents/Info.plist");
  EXPECT_EQ(policy().status, 1);
}

TEST_F(QuillonToolPolicyTest, AMissingBundleIsAFailureAndAMissingPathAUsageError) {
  EXPECT_THAT(policy().error, HasSubstr("There is no bundle at "));
  EXPECT_EQ(testing::ToolRun()({"policy"}).status, 2);
  EXPECT_EQ(policy({"--output="}).status, 2);
  EXPECT_EQ(policy({"more"}).status, 2);
}

TEST_F(QuillonToolPolicyTest, TheManualPageNamesItsOptions) {
  const std::string page = testing::readFile(QUILLON_SOURCE_FOLDER "/docs/man/quillon.1");

  EXPECT_THAT(page, HasSubstr("\n.SS quillon policy\n"));
  EXPECT_THAT(page, HasSubstr("\\-\\-output"));
}

}  // namespace
}  // namespace quillon
