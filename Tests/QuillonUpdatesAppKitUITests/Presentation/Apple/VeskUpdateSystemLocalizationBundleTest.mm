#import <Foundation/Foundation.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>

#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateLocalizationBundle.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

/// A bundle whose one language is German, which is then that of every user.
class VeskUpdateSystemLocalizationBundleTest : public ::testing::Test {
 protected:
  VeskUpdateSystemLocalizationBundleTest() {
    testing::writeFile(contents_ / "Info.plist",
                       "{ CFBundleIdentifier = \"io.quillon.tests.Localized\"; CFBundleDevelopmentRegion = de; }");
  }

  void writeTable(const std::string& name, std::string_view text) const {
    testing::writeFile(contents_ / "Resources/de.lproj" / (name + ".strings"), text);
  }

  [[nodiscard]] std::shared_ptr<const VeskUpdateLocalizationBundle> bundle() const {
    return makeSystemLocalizationBundle(QuillonURL::fileURL((folder_ / "Größe.app").string()));
  }

  testing::TemporaryDirectory folder_;
  const std::filesystem::path contents_ = folder_ / "Größe.app/Contents";
};

TEST_F(VeskUpdateSystemLocalizationBundleTest, UpdateTextsComeFromTheirOwnTable) {
  writeTable("QuillonUpdate", R"("Cancel" = "Lieber nicht";)");
  writeTable("Localizable", R"("Cancel" = "Abbrechen"; "OK" = "Gut";)");

  @autoreleasepool {
    EXPECT_EQ(bundle()->text(VeskUpdateTexts::cancel), "Lieber nicht");
    EXPECT_EQ(bundle()->text(VeskUpdateTexts::ok), "OK");
  }
}

TEST_F(VeskUpdateSystemLocalizationBundleTest, TextsOfTheApplicationComeFromItsTable) {
  writeTable("QuillonUpdate", R"("Cancel" = "Lieber nicht"; "OK" = "Gut";)");
  writeTable("Localizable", R"("Cancel" = "Abbrechen";)");

  @autoreleasepool {
    EXPECT_EQ(bundle()->applicationText("Cancel"), "Abbrechen");
    EXPECT_EQ(bundle()->applicationText("OK"), "OK");
  }
}

TEST_F(VeskUpdateSystemLocalizationBundleTest, TheLanguageIsThatOfTheBundleForThisUser) {
  writeTable("QuillonUpdate", R"("Cancel" = "Abbrechen";)");

  @autoreleasepool {
    EXPECT_EQ(bundle()->language(), "de");
  }
}

TEST_F(VeskUpdateSystemLocalizationBundleTest, WithoutABundleTheTextsAreEnglish) {
  @autoreleasepool {
    const auto texts = makeSystemLocalizationBundle(QuillonURL::fileURL((folder_ / "Missing.app").string()));

    EXPECT_EQ(texts->text(VeskUpdateTexts::cancel), "Cancel");
    EXPECT_EQ(texts->language(), "en");
  }
}

TEST_F(VeskUpdateSystemLocalizationBundleTest, APathThatIsNotUTF8HasNoBundle) {
  @autoreleasepool {
    const auto texts = makeSystemLocalizationBundle(QuillonURL::fileURL("/\xff.app"));

    EXPECT_EQ(texts->text(VeskUpdateTexts::cancel), "Cancel");
    EXPECT_EQ(texts->language(), "en");
  }
}

TEST_F(VeskUpdateSystemLocalizationBundleTest, AKeyThatIsNotUTF8IsItsOwnText) {
  writeTable("Localizable", R"("Cancel" = "Abbrechen";)");

  @autoreleasepool {
    EXPECT_EQ(bundle()->applicationText("\xff"), "\xff");
  }
}

}  // namespace
}  // namespace quillon
