#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "QuillonTool/QuillonToolSubcommandList.h"
#include "QuillonTool/QuillonToolUsageError.h"

namespace quillon {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

class QuillonToolSubcommandListTest : public ::testing::Test {
 protected:
  [[nodiscard]] std::string help(const std::vector<std::string>& words) const { return list_.help(words); }
  [[nodiscard]] std::string errorOf(const std::vector<std::string>& words) const {
    try {
      return list_.help(words);
    } catch (const QuillonToolUsageError& error) {
      return error.description();
    }
  }

  const QuillonToolSubcommandList list_{{{.group = "tea", .name = "brew", .summary = "Make tea", .help = "Tea!\n"},
                                         {.group = "tea", .name = "pour", .summary = "Fill a cup", .help = "Cup!\n"},
                                         {.group = "egg", .name = "boil", .summary = "Boil it", .help = "Egg!\n"},
                                         {.group = "eat", .name = {}, .summary = "Eat it", .help = "Meal!\n"}}};
};

TEST_F(QuillonToolSubcommandListTest, FindsASubcommandByItsTwoWords) {
  const std::vector<std::string> words = {"tea", "pour", "more"};

  const QuillonToolSubcommand* const found = list_.find(words);

  ASSERT_NE(found, nullptr);
  EXPECT_EQ(found->summary, "Fill a cup");
}

TEST_F(QuillonToolSubcommandListTest, ASubcommandMayHaveOneWord) {
  const QuillonToolSubcommand* const found = list_.find(std::vector<std::string>{"eat", "brew"});

  ASSERT_NE(found, nullptr);
  EXPECT_EQ(found->summary, "Eat it");
  EXPECT_EQ(help({"eat"}), "Meal!\n");
  EXPECT_THAT(help({}), HasSubstr("  eat               Eat it\n"));
  EXPECT_EQ(errorOf({"eat", "now"}), "The word \"now\" is one too many; leave it out.");
}

TEST_F(QuillonToolSubcommandListTest, FindsNothingForOtherWords) {
  EXPECT_EQ(list_.find({}), nullptr);
  EXPECT_EQ(list_.find(std::vector<std::string>{"tea"}), nullptr);
  EXPECT_EQ(list_.find(std::vector<std::string>{"egg", "brew"}), nullptr);
}

TEST_F(QuillonToolSubcommandListTest, ListsEverythingOneGroupOrOneSubcommand) {
  EXPECT_THAT(help({}), HasSubstr("  tea pour          Fill a cup\n  egg boil          Boil it\n"));
  EXPECT_THAT(help({"tea"}), HasSubstr("  tea brew          Make tea\n"));
  EXPECT_THAT(help({"tea"}), Not(HasSubstr("egg")));
  EXPECT_EQ(help({"egg", "boil"}), "Egg!\n");
}

TEST_F(QuillonToolSubcommandListTest, SaysWhatIsWrongWithTheWordsAndWhatThereIs) {
  EXPECT_EQ(errorOf({"-x"}), "Unknown option \"-x\"; write --help, --version or a command.");
  EXPECT_EQ(errorOf({"milk"}), "Unknown command \"milk\"; the commands are tea, egg, eat.");
  EXPECT_EQ(errorOf({"tea", "spill"}), "Unknown subcommand \"spill\" of \"tea\"; it has brew, pour.");
  EXPECT_EQ(errorOf({"tea", "brew", "now"}), "The word \"now\" is one too many; leave it out.");
}

TEST_F(QuillonToolSubcommandListTest, AGroupAloneIsNoSubcommand) {
  const std::vector<std::string> words = {"tea"};

  EXPECT_THROW(list_.throwUnknown(words), QuillonToolUsageError);
}

}  // namespace
}  // namespace quillon
