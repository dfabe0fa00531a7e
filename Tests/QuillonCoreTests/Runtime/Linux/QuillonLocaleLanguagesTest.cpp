#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "QuillonCore/Runtime/Linux/QuillonLocaleLanguages.h"
#include "QuillonCore/Runtime/QuillonPreferredLanguages.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<std::string> languages(const std::map<std::string, std::string>& variables) {
  return languagesOfLocale([&variables](const char* name) {
    const auto found = variables.find(name);
    return found == variables.end() ? nullptr : found->second.c_str();
  });
}

TEST(QuillonLocaleLanguagesTest, ALocaleNamesItsLanguageAndRegion) {
  EXPECT_THAT(languages({{"LANG", "de_AT.UTF-8"}}), ElementsAre("de-AT"));
  EXPECT_THAT(languages({{"LANG", "sr_RS@latin"}}), ElementsAre("sr-RS"));
  EXPECT_THAT(languages({{"LANG", "fr"}}), ElementsAre("fr"));
}

TEST(QuillonLocaleLanguagesTest, TheMoreSpecificVariableDecides) {
  EXPECT_THAT(languages({{"LC_ALL", "fr_FR"}, {"LC_MESSAGES", "de_DE"}, {"LANG", "it_IT"}}), ElementsAre("fr-FR"));
  EXPECT_THAT(languages({{"LC_ALL", ""}, {"LC_MESSAGES", "de_DE"}, {"LANG", "it_IT"}}), ElementsAre("de-DE"));
}

TEST(QuillonLocaleLanguagesTest, AListOfLanguagesComesBeforeTheLocales) {
  EXPECT_THAT(languages({{"LANGUAGE", "pt_BR:pt::es"}, {"LANG", "en_GB.UTF-8"}}),
              ElementsAre("pt-BR", "pt", "es", "en-GB"));
  EXPECT_THAT(languages({{"LANGUAGE", "de:"}, {"LANG", "de"}}), ElementsAre("de"));
}

TEST(QuillonLocaleLanguagesTest, TheLocaleWithoutLanguageHasNone) {
  EXPECT_THAT(languages({}), IsEmpty());
  EXPECT_THAT(languages({{"LANGUAGE", "de"}, {"LANG", "C.UTF-8"}}), IsEmpty());
  EXPECT_THAT(languages({{"LANG", "POSIX"}}), IsEmpty());
}

TEST(QuillonLocaleLanguagesTest, ThePreferredLanguagesAreThoseOfTheEnvironment) {
  setenv("LC_ALL", "de_AT.UTF-8", 1);
  setenv("LANGUAGE", "fr", 1);

  const std::vector<std::string> preferred = preferredLanguages();

  unsetenv("LC_ALL");
  unsetenv("LANGUAGE");
  EXPECT_THAT(preferred, ElementsAre("fr", "de-AT"));
}

}  // namespace
}  // namespace quillon
