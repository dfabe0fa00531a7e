#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "QuillonTool/PolkitActionFile.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using ::testing::HasSubstr;

const PolkitActionFile kFile{
    .actionIdentifier = "org.example.App.quillon-update",
    .vendor = "App",
    .description = {.english = "Update App", .translations = {}},
    .message = {.english = "App needs permission.", .translations = {{"de", "App braucht \"Erlaubnis\""}}}};

TEST(PolkitActionFileTest, SaysWhatPolkitNeedsToKnow) {
  EXPECT_EQ(kFile.content(), R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE policyconfig PUBLIC "-//freedesktop//DTD PolicyKit Policy Configuration 1.0//EN"
  "http://www.freedesktop.org/standards/PolicyKit/1/policyconfig.dtd">
<policyconfig>
  <vendor>App</vendor>
  <action id="org.example.App.quillon-update">
    <description>Update App</description>
    <message>App needs permission.</message>
    <message xml:lang="de">App braucht "Erlaubnis"</message>
    <defaults>
      <allow_any>auth_admin_keep</allow_any>
      <allow_inactive>auth_admin_keep</allow_inactive>
      <allow_active>auth_admin_keep</allow_active>
    </defaults>
    <annotate key="org.freedesktop.policykit.imply">org.freedesktop.systemd1.manage-units</annotate>
  </action>
</policyconfig>
)");
}

TEST(PolkitActionFileTest, TextsCannotBecomeMarkup) {
  PolkitActionFile file = kFile;
  file.vendor = "</vendor><action id=\"x\">&";
  file.message.translations = {{"d\"e<&", "<yes/>"}};

  EXPECT_THAT(file.content(), HasSubstr("<vendor><![CDATA[</vendor><action id=\"x\">&]]></vendor>"));
  EXPECT_THAT(file.content(), HasSubstr("<message xml:lang=\"d&quot;e&lt;&amp;\"><![CDATA[<yes/>]]></message>"));
}

TEST(PolkitActionFileTest, TextsHaveNoEntitiesBecausePolkitWouldCutThemThere) {
  PolkitActionFile file = kFile;
  file.vendor = "Foo & Co";
  EXPECT_THAT(file.content(), HasSubstr("<vendor><![CDATA[Foo & Co]]></vendor>"));

  file.vendor = "]]></vendor>";
  EXPECT_THAT(file.content(), HasSubstr("<vendor><![CDATA[]]]]><![CDATA[></vendor>]]></vendor>"));
}

TEST(PolkitActionFileTest, CharactersThatXMLHasNoPlaceForAreReplaced) {
  PolkitActionFile file = kFile;
  file.vendor = "a\x01\nb\xFF\xEF\xBF\xBE ü";

  EXPECT_THAT(file.content(), HasSubstr("<vendor>a\xEF\xBF\xBD b\xEF\xBF\xBD\xEF\xBF\xBD ü</vendor>"));
}

TEST(PolkitActionFileTest, FollowsPolkitsDocumentType) {
  const std::filesystem::path documentType = "/usr/share/polkit-1/policyconfig-1.dtd";
  if (!exists(documentType) || !std::filesystem::exists("/usr/bin/xmllint")) {
    GTEST_SKIP() << "polkitd or xmllint is not installed";
  }
  const testing::TemporaryDirectory folder;
  PolkitActionFile file = kFile;
  file.vendor = "<&\x02]]>";
  testing::writeFile(folder / "action.policy", file.content());

  const std::string command = "/usr/bin/xmllint --nonet --noout --dtdvalid " + documentType.string() + " '" +
                              (folder / "action.policy").string() + "'";
  EXPECT_EQ(std::system(command.c_str()), 0);  // NOLINT(concurrency-mt-unsafe,cert-env33-c): a command of our own
}

TEST(PolkitActionFileTest, NamesOfActionsAreLettersDigitsPeriodsAndHyphens) {
  EXPECT_TRUE(PolkitActionFile::isActionIdentifier("org.Example-2.App.quillon-update"));
  EXPECT_FALSE(PolkitActionFile::isActionIdentifier("org.example_2.App"));
  EXPECT_FALSE(PolkitActionFile::isActionIdentifier("org.exämple.App"));
  EXPECT_FALSE(PolkitActionFile::isActionIdentifier("org.example/App"));
  EXPECT_FALSE(PolkitActionFile::isActionIdentifier(""));
}

TEST(PolkitActionFileTest, LanguagesAreNamedAsLocalesAre) {
  EXPECT_EQ(PolkitActionFile::localeName("de"), "de");
  EXPECT_EQ(PolkitActionFile::localeName("pt-BR"), "pt_BR");
  EXPECT_EQ(PolkitActionFile::localeName("zh-Hans"), "zh_CN");
  EXPECT_EQ(PolkitActionFile::localeName("zh-Hant"), "zh_TW");
}

}  // namespace
}  // namespace quillon
