#include <gtest/gtest.h>

#include "QuillonCore/Text/QuillonLocalizedFormat.h"

namespace quillon {
namespace {

TEST(QuillonLocalizedFormatTest, APlaceTakesTheArgument) {
  EXPECT_EQ(formattedText("%@ is here.", {"Foo"}), "Foo is here.");
  EXPECT_EQ(formattedText("Here is %@", {"Foo"}), "Here is Foo");
  EXPECT_EQ(formattedText("%@%@", {"a", "b"}), "ab");
}

TEST(QuillonLocalizedFormatTest, NumberedPlacesTakeArgumentsInAnyOrder) {
  EXPECT_EQ(formattedText("%2$@ before %1$@", {"a", "b"}), "b before a");
  EXPECT_EQ(formattedText("%1$@ and %1$@", {"a"}), "a and a");
  EXPECT_EQ(formattedText("%2$@ %@", {"a", "b"}), "b a");
}

TEST(QuillonLocalizedFormatTest, ADoubledPercentSignIsOne) {
  EXPECT_EQ(formattedText("100%% of %@", {"Foo"}), "100% of Foo");
  EXPECT_EQ(formattedText("%%@", {"Foo"}), "%@");
}

TEST(QuillonLocalizedFormatTest, ArgumentsAreNotLookedInto) {
  EXPECT_EQ(formattedText("%@ %@", {"%@%%", "%1$@"}), "%@%% %1$@");
}

TEST(QuillonLocalizedFormatTest, PlacesWithoutArgumentStayAsTheyStand) {
  EXPECT_EQ(formattedText("%@ %@", {"a"}), "a %@");
  EXPECT_EQ(formattedText("%@", {}), "%@");
  EXPECT_EQ(formattedText("%0$@ %3$@", {"a", "b"}), "%0$@ %3$@");
  EXPECT_EQ(formattedText("%99999999999999999999$@", {"a"}), "%99999999999999999999$@");
}

TEST(QuillonLocalizedFormatTest, OtherFormatsStayAsTheyStand) {
  EXPECT_EQ(formattedText("%d %s %n %1$d %-@ %", {"a"}), "%d %s %n %1$d %-@ %");
  EXPECT_EQ(formattedText("", {"a"}), "");
}

}  // namespace
}  // namespace quillon
