#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <string_view>

#include "QuillonCore/Text/QuillonLocalizedFormat.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdHelperLauncher.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateTexts.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

namespace fs = std::filesystem;

const fs::path& textsFolder() {
  static const fs::path folder = fs::path(QUILLON_SOURCE_FOLDER) / "Resources/Texts";
  return folder;
}

std::string tableText(const std::string& language, std::string_view table) {
  return testing::readFile(textsFolder() / (language + ".lproj") / (std::string(table) + ".strings"));
}

/// What a program reads of the table.
std::map<std::string, std::string> tableOf(const std::string& language, std::string_view table) {
  std::map<std::string, std::string> texts;
  const QuillonPropertyListValue list = readPropertyList(tableText(language, table));
  for (const auto& [key, value] : *list.getIf<QuillonPropertyListValue::Dictionary>()) {
    const std::string* const text = value.getIf<std::string>();
    texts.emplace(key, text == nullptr ? "" : *text);
  }
  return texts;
}

std::set<std::string> keysOf(const std::map<std::string, std::string>& table) {
  std::set<std::string> keys;
  for (const auto& [key, text] : table) keys.insert(key);
  return keys;
}

std::set<std::string> updateKeys() {
  std::set<std::string> keys;
  for (const VeskUpdateText& text : VeskUpdateTexts::all) keys.emplace(text.english);
  return keys;
}

/// The keys that a host's own table can have from this project, "Example" being the host's name.
std::set<std::string> applicationKeys() {
  std::set<std::string> keys{std::string("Example").append(VeskUpdateTexts::versionDescriptionAfterName.english),
                             std::string(VeskAppBundleLaunchdHelperLauncher::kPromptFormat), "Update %@"};
  for (const VeskUpdateText& text : VeskUpdateTexts::allOfApplication) keys.emplace(text.english);
  return keys;
}

/// The arguments that the system puts into `format`, sorted: "A" for the first, "B" for the second …
std::string argumentsOf(const std::string& format) {
  std::string arguments = formattedText(format, {"\1", "\2", "\3", "\4"});
  std::erase_if(arguments, [](char c) { return c < 1 || c > 4; });
  std::ranges::transform(arguments, arguments.begin(), [](char c) { return static_cast<char>(c - 1 + 'A'); });
  std::ranges::sort(arguments);
  return arguments;
}

/// Whether a place is left in `format` when its arguments are filled in.
bool hasUnfilledPlace(const std::string& format) {
  return formattedText(format, {"", "", "", ""}).find_first_of("%@") != std::string::npos;
}

bool isSpace(char c) {
  return std::isspace(static_cast<unsigned char>(c)) != 0;
}

class VeskUpdateTextsLanguageTest : public ::testing::TestWithParam<std::string> {
 protected:
  void SetUp() override {
    update_ = tableOf(GetParam(), VeskUpdateTexts::table);
    application_ = tableOf(GetParam(), VeskUpdateTexts::applicationTable);
    all_ = update_;
    all_.insert(application_.begin(), application_.end());
  }

  std::map<std::string, std::string> update_;
  std::map<std::string, std::string> application_;
  std::map<std::string, std::string> all_;
};

TEST_P(VeskUpdateTextsLanguageTest, HasEveryTextAndNoOther) {
  EXPECT_EQ(keysOf(update_), updateKeys());
  EXPECT_EQ(keysOf(application_), applicationKeys());
}

TEST_P(VeskUpdateTextsLanguageTest, EveryTextHasThePlacesOfTheEnglishOne) {
  for (const auto& [key, text] : all_) {
    EXPECT_EQ(argumentsOf(text), argumentsOf(key)) << key;
    EXPECT_FALSE(hasUnfilledPlace(text)) << text;
  }
}

TEST_P(VeskUpdateTextsLanguageTest, NoTextBeginsOrEndsWithSpace) {
  for (const auto& [key, text] : all_) {
    ASSERT_FALSE(text.empty()) << key;
    EXPECT_EQ(isSpace(text.front()), isSpace(key.front())) << key;
    EXPECT_EQ(isSpace(text.back()), isSpace(key.back())) << key;
    EXPECT_EQ(text.find("  "), std::string::npos) << text;
  }
}

TEST_P(VeskUpdateTextsLanguageTest, EverythingIsTranslatedAndEnglishIsWhatTheKeysSay) {
  static const std::set<std::string> kAlikeInManyLanguages{"OK"};
  const bool isLanguageOfTheKeys = GetParam() == "en";

  for (const auto& [key, text] : all_) {
    if (kAlikeInManyLanguages.contains(key)) continue;
    EXPECT_EQ(text == key, isLanguageOfTheKeys) << key;
  }
}

TEST_P(VeskUpdateTextsLanguageTest, ATextThatGoesOnSaysSoInTheTranslationToo) {
  constexpr std::string_view kEllipsis = "…";

  for (const auto& [key, text] : all_) EXPECT_EQ(text.ends_with(kEllipsis), key.ends_with(kEllipsis)) << key;
}

TEST_P(VeskUpdateTextsLanguageTest, TranslatorsReadTheCommentAboveEachText) {
  const std::string table = tableText(GetParam(), VeskUpdateTexts::table);

  std::size_t length = 0;
  for (const VeskUpdateText& text : VeskUpdateTexts::all) {
    const std::string english(text.english);
    const std::string entry =
        "/* " + std::string(text.comment) + " */\n\"" + english + "\" = \"" + update_[english] + "\";\n";
    EXPECT_NE(table.find(entry), std::string::npos) << english;
    length += entry.size() + 1;
  }
  EXPECT_EQ(table.size() + 1, length) << "the table says something twice";
}

INSTANTIATE_TEST_SUITE_P(Languages, VeskUpdateTextsLanguageTest,
                         ::testing::Values("de", "en", "es", "fr", "it", "ja", "ko", "nl", "pl", "pt-BR", "ru", "tr",
                                           "uk", "zh-Hans", "zh-Hant"));

TEST(VeskUpdateTextsTest, EveryLanguageThatIsShippedIsChecked) {
  std::set<std::string> folders;
  for (const auto& entry : fs::directory_iterator(textsFolder())) folders.insert(entry.path().stem().string());

  EXPECT_EQ(folders, (std::set<std::string>{"de", "en", "es", "fr", "it", "ja", "ko", "nl", "pl", "pt-BR", "ru", "tr",
                                            "uk", "zh-Hans", "zh-Hant"}));
}

TEST(VeskUpdateTextsTest, NoTextIsListedTwice) {
  EXPECT_EQ(updateKeys().size(), VeskUpdateTexts::all.size());
}

TEST(VeskUpdateTextsTest, TheDescriptionsDashIsFullWidth) {
  EXPECT_NE(VeskUpdateTexts::versionDescriptionAfterName.english.find(" \uFF0D "), std::string_view::npos);
}

}  // namespace
}  // namespace quillon
