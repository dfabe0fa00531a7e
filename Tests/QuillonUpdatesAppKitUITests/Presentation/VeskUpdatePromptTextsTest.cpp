#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <ostream>
#include <string>

#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdatePromptTexts.h"
#include "QuillonUpdatesAppKitUITests/Presentation/PromptInputMaking.h"

namespace quillon {
namespace {

using BuildOnly = VeskUpdatePromptBuildOnlyUpdate;

struct BuildCase {
  std::string name;
  std::string current;
  std::string currentBuild;
  std::int64_t runningBuild = 200;
  bool isBuildOnly = false;
};

std::ostream& operator<<(std::ostream& stream, const BuildCase& item) {
  return stream << item.name;
}

std::string nameOf(const ::testing::TestParamInfo<BuildCase>& info) {
  return info.param.name;
}

class VeskUpdatePromptBuildOnlyTest : public ::testing::TestWithParam<BuildCase> {};

TEST_P(VeskUpdatePromptBuildOnlyTest, IsRecognised) {
  VeskUpdatePromptInput input =
      promptInput({{"current", GetParam().current}, {"currentbuild", GetParam().currentBuild}});
  input.applicationBuild = GetParam().runningBuild;

  EXPECT_EQ(buildOnlyUpdate(input).has_value(), GetParam().isBuildOnly);
  EXPECT_EQ(promptWindowTitle(input) == "Stability Update Available", GetParam().isBuildOnly);
}

INSTANTIATE_TEST_SUITE_P(Cases, VeskUpdatePromptBuildOnlyTest,
                         ::testing::Values(BuildCase{"HigherBuild", "2.0", "201", 200, true},
                                           BuildCase{"HighestBuild", "2.0", "9223372036854775807", 200, true},
                                           BuildCase{"RunningBuildOne", "2.0", "2", 1, true},
                                           BuildCase{"RunningBuildZero", "2.0", "201", 0, false},
                                           BuildCase{"RunningBuildNegative", "2.0", "201", -1, false},
                                           BuildCase{"EqualBuild", "2.0", "200", 200, false},
                                           BuildCase{"LowerBuild", "2.0", "199", 200, false},
                                           BuildCase{"EmptyBuild", "2.0", "", 200, false},
                                           BuildCase{"BuildWithLetters", "2.0", "201b", 200, false},
                                           BuildCase{"HexadecimalBuild", "2.0", "0xFFF", 200, false},
                                           BuildCase{"BuildWithBlank", "2.0", " 201", 200, false},
                                           BuildCase{"BuildThatDoesNotFit", "2.0", "9223372036854775808", 200, false},
                                           BuildCase{"AnotherVersion", "2.1", "201", 200, false},
                                           BuildCase{"SameVersionInOtherCharacters", "2.0.0", "201", 200, false},
                                           BuildCase{"VersionWithBlank", "2.0 ", "201", 200, false}),
                         nameOf);

TEST(VeskUpdatePromptTextsTest, ABuildOnlyUpdateHasTheVersionAndTheOfferedBuild) {
  EXPECT_EQ(buildOnlyUpdate(buildOnlyInput()), (BuildOnly{.version = "2.0", .build = 201}));
}

TEST(VeskUpdatePromptTextsTest, AnEntryWithoutVersionIsNoBuildOnlyUpdateOfAnApplicationWithoutVersion) {
  VeskUpdatePromptInput input = promptInput({{"currentbuild", "201"}});
  input.applicationVersion = "";

  EXPECT_EQ(buildOnlyUpdate(input), std::nullopt);
}

TEST(VeskUpdatePromptTextsTest, ABuildNumberThatIsNoStringCountsAsNone) {
  VeskUpdatePromptInput input = promptInput({{"current", "2.0"}});
  input.feed.emplace("currentbuild", QuillonPropertyListValue(201));

  EXPECT_EQ(buildOnlyUpdate(input), std::nullopt);
}

TEST(VeskUpdatePromptTextsTest, TheWindowHasTheTitleOfTheEntry) {
  EXPECT_EQ(promptWindowTitle(promptInput({{"title", "News of Example"}, {"current", "2.1"}})), "News of Example");
  EXPECT_EQ(promptWindowTitle(promptInput({{"current", "2.1"}})), "");
}

TEST(VeskUpdatePromptTextsTest, ATitleThatIsNoStringIsNone) {
  VeskUpdatePromptInput input = promptInput();
  input.feed.emplace("title", QuillonPropertyListValue(7));

  EXPECT_EQ(promptWindowTitle(input), "");
}

TEST(VeskUpdatePromptTextsTest, ABuildOnlyUpdateIsCalledAStabilityUpdate) {
  EXPECT_EQ(promptWindowTitle(buildOnlyInput()), "Stability Update Available");
  EXPECT_EQ(topTitleString(buildOnlyInput()), "Stability Update Available");
  EXPECT_EQ(secondaryTitleString(buildOnlyInput()),
            "A stability update for Example 2.0 is available. You have build 200; build 201 is ready to install.");
}

TEST(VeskUpdatePromptTextsTest, AVersionWithAnyLetterIsABeta) {
  for (const char* const version : {"2.1b3", "2.1 beta", "v2.1", "2.1β", "2.1 第二版"}) {
    EXPECT_EQ(topTitleString(promptInput({{"current", version}})), "A new beta version is available!") << version;
  }
  for (const char* const version : {"2.1", "2.1-3", "2.1 (5)", "٢.١", "", "2.1+"}) {
    EXPECT_EQ(topTitleString(promptInput({{"current", version}})), "A new version is available!") << version;
  }
  EXPECT_EQ(topTitleString(promptInput({})), "A new version is available!");
}

TEST(VeskUpdatePromptTextsTest, TheDescriptionTellsBothVersions) {
  EXPECT_EQ(secondaryTitleString(promptInput()),
            "Example version 2.1 is now available \uFF0D you have 2.0. Would you like to download it now?");
}

TEST(VeskUpdatePromptTextsTest, AnEntryWithoutVersionOffersX) {
  VeskUpdatePromptInput number = promptInput({});
  number.feed.emplace("current", QuillonPropertyListValue(2.1));

  for (const VeskUpdatePromptInput& input : {promptInput({}), number}) {
    EXPECT_EQ(secondaryTitleString(input),
              "Example version X is now available \uFF0D you have 2.0. Would you like to download it now?");
  }
}

TEST(VeskUpdatePromptTextsTest, AnEmptyVersionIsShownAsItIs) {
  EXPECT_EQ(secondaryTitleString(promptInput({{"current", ""}})),
            "Example version  is now available \uFF0D you have 2.0. Would you like to download it now?");
}

TEST(VeskUpdatePromptTextsTest, ADescriptionIsLookedUpWithTheNameOfTheApplication) {
  VeskUpdatePromptInput input = promptInput();
  input.localizationBundle = germanTexts(
      "",
      R"("Example version %@ is now available － you have %@. Would you like to download it now?" = "%2$@ → %1$@?";)");

  EXPECT_EQ(secondaryTitleString(input), "2.0 → 2.1?");
}

TEST(VeskUpdatePromptTextsTest, EachTextComesFromItsTable) {
  const auto texts = germanTexts(
      R"("Stability Update Available" = "update"; "A new version is available!" = "update"; "News" = "update";
         "A stability update for %1$@ %2$@ is available. You have build %3$@; build %4$@ is ready to install." =
           "%4$@ %3$@ %2$@ %1$@";)",
      R"("Stability Update Available" = "application"; "A new version is available!" = "application";
         "A new beta version is available!" = "application beta"; "News" = "application";)");
  VeskUpdatePromptInput buildOnly = buildOnlyInput();
  buildOnly.localizationBundle = texts;
  VeskUpdatePromptInput version = promptInput({{"current", "2.1"}, {"title", "News"}});
  version.localizationBundle = texts;
  VeskUpdatePromptInput beta = promptInput({{"current", "2.1b"}});
  beta.localizationBundle = texts;

  EXPECT_EQ(promptWindowTitle(buildOnly), "update");
  EXPECT_EQ(topTitleString(buildOnly), "update");
  EXPECT_EQ(secondaryTitleString(buildOnly), "201 200 2.0 Example");
  EXPECT_EQ(promptWindowTitle(version), "application");
  EXPECT_EQ(topTitleString(version), "application");
  EXPECT_EQ(topTitleString(beta), "application beta");
}

TEST(VeskUpdatePromptTextsTest, MarkupAndPlacesInAnEntryAreTextLikeAnyOther) {
  const VeskUpdatePromptInput input = promptInput({{"title", "<b>%@</b> & %1$@"}, {"current", "<i>%@</i>"}});

  EXPECT_EQ(promptWindowTitle(input), "<b>%@</b> & %1$@");
  EXPECT_EQ(secondaryTitleString(input),
            "Example version <i>%@</i> is now available \uFF0D you have 2.0. Would you like to download it now?");
}

TEST(VeskUpdatePromptTextsTest, LinesAndControlCharactersOfAnEntryAreMadeHarmless) {
  const VeskUpdatePromptInput input = promptInput({{"title", "One\r\nTwo\x1B[31m\u202E"}, {"current", "3\n\x07\xFF"}});

  EXPECT_EQ(promptWindowTitle(input), "One Two[31m");
  EXPECT_EQ(secondaryTitleString(input),
            "Example version 3 \uFFFD is now available \uFF0D you have 2.0. Would you like to download it now?");
}

TEST(VeskUpdatePromptTextsTest, ALongTitleStaysWhole) {
  const std::string title(10'000, 'x');

  EXPECT_EQ(promptWindowTitle(promptInput({{"title", title}})), title);
}

}  // namespace
}  // namespace quillon
