#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "QuillonCore/Runtime/QuillonSystemServices.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateLocalizationBundle.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

class VeskUpdateLocalizationBundleTest : public ::testing::Test {
 protected:
  void writeTable(const std::string& language, std::string_view table, std::string_view text) {
    const auto folder = folder_ / "App.app/Contents/Resources";
    testing::writeFile(folder / (language + ".lproj") / (std::string(table) + ".strings"), text);
  }

  VeskUpdateLocalizationBundle bundle(const std::vector<std::string>& languages) const {
    return {makeSystemFileManager(), QuillonURL::fileURL((folder_ / "App.app").string()), languages};
  }

  testing::TemporaryDirectory folder_;
};

TEST_F(VeskUpdateLocalizationBundleTest, UpdateTextsComeFromTheirOwnTable) {
  writeTable("de", "QuillonUpdate", R"("Cancel" = "Abbrechen";)");
  writeTable("de", "Localizable", R"("Cancel" = "Zurück"; "OK" = "Gut";)");

  EXPECT_EQ(bundle({"de"}).text(VeskUpdateTexts::cancel), "Abbrechen");
  EXPECT_EQ(bundle({"de"}).text(VeskUpdateTexts::ok), "OK");
}

TEST_F(VeskUpdateLocalizationBundleTest, TextsOfTheApplicationComeFromItsTable) {
  writeTable("de", "QuillonUpdate", R"("Cancel" = "Abbrechen"; "OK" = "OK!";)");
  writeTable("de", "Localizable", R"("Cancel" = "Zurück";)");

  EXPECT_EQ(bundle({"de"}).applicationText("Cancel"), "Zurück");
  EXPECT_EQ(bundle({"de"}).applicationText("OK"), "OK");
}

TEST_F(VeskUpdateLocalizationBundleTest, TheLanguageOfTheUpdateTextsIsTheirOwn) {
  writeTable("de", "QuillonUpdate", R"("Cancel" = "Abbrechen";)");
  writeTable("fr", "Localizable", R"("Cancel" = "Annuler";)");

  EXPECT_EQ(bundle({"fr", "de-AT"}).language(), "de-AT");
  EXPECT_EQ(bundle({"fr"}).language(), "en");
}

TEST_F(VeskUpdateLocalizationBundleTest, SomebodyElseCanLookTextsUpInTheSameTables) {
  const VeskUpdateLocalizationBundle texts(
      [](std::string_view key, std::string_view table) { return std::string(table) + ": " + std::string(key); }, "nl");

  EXPECT_EQ(texts.text(VeskUpdateTexts::ok), "QuillonUpdate: OK");
  EXPECT_EQ(texts.applicationText("OK"), "Localizable: OK");
  EXPECT_EQ(texts.language(), "nl");
}

TEST_F(VeskUpdateLocalizationBundleTest, ABundleWithoutTextsHasTheEnglishOnesOnThePlatform) {
  EXPECT_EQ(makeSystemLocalizationBundle(QuillonURL::fileURL(folder_.path().string()))->text(VeskUpdateTexts::cancel),
            "Cancel");
}

}  // namespace
}  // namespace quillon
