#include <gtest/gtest.h>

#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleCodeSignatureOutput.h"

namespace quillon {
namespace {

TEST(VeskAppBundleCodeSignatureOutputTest, OutputIsTrimmedAndItsNewlinesAreWrittenOut) {
  EXPECT_EQ(printableOutput(" \n a\nb\r\nc\rd\u2028e \t\n"), "a\\nb\\nc\\nd\\ne");
}

TEST(VeskAppBundleCodeSignatureOutputTest, NothingIsWrittenAsEmpty) {
  EXPECT_EQ(printableOutput(""), "<empty>");
  EXPECT_EQ(printableOutput(" \n\t"), "<empty>");
  EXPECT_EQ(orEmptyMark(""), "<empty>");
  EXPECT_EQ(orEmptyMark("x"), "x");
}

TEST(VeskAppBundleCodeSignatureOutputTest, SixHundredCharactersAreCutToFiveHundredAndThreePeriods) {
  EXPECT_EQ(printableOutput(std::string(600, 'x')), std::string(500, 'x') + "...");
  EXPECT_EQ(printableOutput(std::string(500, 'x')), std::string(500, 'x'));
}

TEST(VeskAppBundleCodeSignatureOutputTest, TheCutCountsCharactersAndSplitsNone) {
  std::string umlauts;
  for (int i = 0; i < 501; ++i) umlauts += "\u00E4";

  EXPECT_EQ(printableOutput(umlauts), umlauts.substr(0, 1000) + "...");
}

TEST(VeskAppBundleCodeSignatureOutputTest, TheTeamIsTheRestOfItsFirstLineAsItStands) {
  EXPECT_EQ(teamIdentifierInOutput("a\nTeamIdentifier= T 1 \nTeamIdentifier= T 1 \nb"), " T 1 ");
  EXPECT_EQ(teamIdentifierInOutput("TeamIdentifier="), "");
  EXPECT_EQ(teamIdentifierInOutput("xTeamIdentifier=1\nteamidentifier=2"), std::nullopt);
}

TEST(VeskAppBundleCodeSignatureOutputTest, TeamsThatContradictEachOtherAreNone) {
  EXPECT_EQ(teamIdentifierInOutput("Identifier=x\nTeamIdentifier=VICTIM\nTeamIdentifier=SIGNER"), std::nullopt);
  EXPECT_EQ(teamIdentifierInOutput("Identifier=x\u2028TeamIdentifier=VICTIM\nTeamIdentifier=not set"), std::nullopt);
  EXPECT_EQ(teamIdentifierInOutput("TeamIdentifier=\nTeamIdentifier=VICTIM"), std::nullopt);
}

}  // namespace
}  // namespace quillon
