#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "QuillonCore/Runtime/QuillonLocalizationBundle.h"
#include "QuillonCore/Runtime/QuillonSystemServices.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class QuillonLocalizationBundleTest : public ::testing::Test {
 protected:
  void writeTable(const std::string& language, std::string_view bytes) {
    testing::writeFile(resources_ / (language + ".lproj") / "Localizable.strings", bytes);
  }

  QuillonLocalizationBundle bundle(const std::vector<std::string>& preferredLanguages = {}) const {
    return {makeSystemFileManager(), QuillonURL::fileURL((folder_ / "App.app").string()), preferredLanguages};
  }

  testing::TemporaryDirectory folder_;
  std::filesystem::path resources_ = folder_ / "App.app/Contents/Resources";
};

TEST_F(QuillonLocalizationBundleTest, ATextComesFromTheBestLanguageThatHasIt) {
  writeTable("de", R"("Install" = "Installieren";)");
  writeTable("fr", R"("Install" = "Installer"; "Later" = "Plus tard";)");

  EXPECT_EQ(bundle({"de", "fr"}).text("Install"), "Installieren");
  EXPECT_EQ(bundle({"de", "fr"}).text("Later"), "Plus tard");
  EXPECT_EQ(bundle({"it", "fr"}).text("Install"), "Installer");
}

TEST_F(QuillonLocalizationBundleTest, WhereNoLanguageHasATextItIsInEnglish) {
  writeTable("de", R"("Install" = "Installieren";)");

  EXPECT_EQ(bundle({"de"}).text("Later"), "Later");
  EXPECT_EQ(bundle({"it"}).text("Install"), "Install");
  EXPECT_EQ(bundle().text("Install"), "Install");
}

TEST_F(QuillonLocalizationBundleTest, AReaderOfEnglishGetsNoOtherLanguage) {
  writeTable("de", R"("Install" = "Installieren"; "Color" = "Farbe";)");
  writeTable("en-GB", R"("Color" = "Colour";)");

  EXPECT_EQ(bundle({"en-GB", "de"}).text("Install"), "Install");
  EXPECT_EQ(bundle({"en-GB", "de"}).text("Color"), "Colour");
  EXPECT_EQ(bundle({"en-US", "de"}).text("Color"), "Color");
}

TEST_F(QuillonLocalizationBundleTest, ARegionFallsBackToItsLanguageAndChineseToItsScript) {
  writeTable("de", R"("Install" = "Installieren";)");
  writeTable("zh-Hans", R"("Install" = "安装";)");
  writeTable("zh-Hant", R"("Install" = "安裝";)");

  EXPECT_EQ(bundle({"de-AT"}).text("Install"), "Installieren");
  EXPECT_EQ(bundle({"zh-CN"}).text("Install"), "安装");
  EXPECT_EQ(bundle({"zh-HK"}).text("Install"), "安裝");
  EXPECT_EQ(bundle({"zh-Hans-CN"}).text("Install"), "安装");
}

TEST_F(QuillonLocalizationBundleTest, NamesOfLanguagesAreComparedWithoutCaseAndUnderscores) {
  writeTable("pt_BR", R"("Install" = "Instalar";)");

  EXPECT_EQ(bundle({"pt-br"}).text("Install"), "Instalar");
}

TEST_F(QuillonLocalizationBundleTest, TablesMayBePropertyListsOfAnyFormat) {
  const QuillonPropertyListValue table(
      QuillonPropertyListValue::Dictionary{{"Install", QuillonPropertyListValue("Installieren")}});
  writeTable("de", writeBinaryPropertyList(table));
  writeTable("at", writeXMLPropertyList(table));
  writeTable("ch", std::string_view("\xFE\xFF\0\"\0I\0\"\0=\0\"\0\xFC\0\"\0;", 18));

  EXPECT_EQ(bundle({"de"}).text("Install"), "Installieren");
  EXPECT_EQ(bundle({"at"}).text("Install"), "Installieren");
  EXPECT_EQ(bundle({"ch"}).text("I"), "ü");
}

TEST_F(QuillonLocalizationBundleTest, WhatCannotBeReadIsAsIfItWereNotThere) {
  writeTable("de", R"("Install" = )");
  writeTable("fr", R"(("no", "dictionary"))");
  writeTable("it", R"("Install" = ( "no text" ); "Later" = "";)");
  std::filesystem::create_directories(resources_ / "es.lproj/Localizable.strings");
  testing::writeFile(resources_ / "pl.lproj", "no folder");
  writeTable("nl", std::string(kLargestLocalizationTable + 1, ' '));

  for (const std::string language : {"de", "fr", "it", "es", "pl", "nl"}) {
    EXPECT_EQ(bundle({language}).text("Install"), "Install") << language;
    EXPECT_EQ(bundle({language}).text("Later"), "Later") << language;
  }
}

TEST_F(QuillonLocalizationBundleTest, TheLanguagesOfABundleAreItsFolders) {
  writeTable("fr", "");
  writeTable("de", "");
  writeTable("Base", "");
  testing::writeFile(resources_ / "icon.png", "");

  EXPECT_THAT(bundle().languages(), ElementsAre("de", "fr"));
}

TEST_F(QuillonLocalizationBundleTest, ABundleWithoutResourcesHasNoLanguages) {
  EXPECT_THAT(bundle({"de"}).languages(), IsEmpty());
  EXPECT_EQ(bundle({"de"}).text("Install"), "Install");
}

TEST_F(QuillonLocalizationBundleTest, ALanguageCanBeAskedForByName) {
  writeTable("de", R"("Install" = "Installieren";)");

  EXPECT_EQ(bundle().textInLanguage("de", "Install"), "Installieren");
  EXPECT_EQ(bundle().textInLanguage("de", "Later"), std::nullopt);
  EXPECT_EQ(bundle().textInLanguage("fr", "Install"), std::nullopt);
}

TEST_F(QuillonLocalizationBundleTest, ALanguageIsNoPath) {
  testing::writeFile(folder_ / "evil.lproj/Localizable.strings", R"("Install" = "Evil";)");
  writeTable("de", "");

  EXPECT_EQ(bundle({"../../../evil"}).text("Install"), "Install");
  EXPECT_EQ(bundle().textInLanguage("../../../evil", "Install"), std::nullopt);
}

TEST_F(QuillonLocalizationBundleTest, ItsLanguageIsThePreferredOneThatItHasTextsIn) {
  writeTable("de", R"("Install" = "Installieren";)");
  writeTable("fr", R"("Install" = "Installer";)");
  writeTable("it", "");

  EXPECT_EQ(bundle({"fr", "de"}).language(), "fr");
  EXPECT_EQ(bundle({"es", "it", "de-AT"}).language(), "de-AT");
  EXPECT_EQ(bundle({"en-GB", "de"}).language(), "en-GB");
  EXPECT_EQ(bundle({"es"}).language(), "en");
  EXPECT_EQ(bundle().language(), "en");
}

}  // namespace
}  // namespace quillon
