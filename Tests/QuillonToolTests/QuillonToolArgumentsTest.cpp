#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "QuillonTool/QuillonToolArguments.h"
#include "QuillonTool/QuillonToolUsageError.h"

namespace quillon {
namespace {

constexpr std::array<QuillonToolOption, 3> kOptions = {
    QuillonToolOption{.name = "--quick"},
    QuillonToolOption{.name = "--color", .kind = QuillonToolOption::Kind::withValue},
    QuillonToolOption{.name = "--tag", .kind = QuillonToolOption::Kind::withValues}};

QuillonToolArguments parse(const std::vector<std::string>& words) {
  return QuillonToolArguments::parse(words, kOptions);
}

std::string errorOf(const std::vector<std::string>& words) {
  try {
    (void)parse(words);
  } catch (const QuillonToolUsageError& error) {
    return error.description();
  }
  return "no error";
}

TEST(QuillonToolArgumentsTest, OptionsMayStandBeforeBetweenAndAfterOperands) {
  const QuillonToolArguments arguments = parse({"a", "--color", "red", "b", "--quick"});

  EXPECT_TRUE(arguments.has("--quick"));
  EXPECT_EQ(arguments.value("--color"), "red");
  EXPECT_EQ(arguments.operands({"First", "Second"}), (std::vector<std::string>{"a", "b"}));
}

TEST(QuillonToolArgumentsTest, SomeOptionsMayBeGivenSeveralTimes) {
  EXPECT_EQ(parse({"--tag", "a", "x", "--tag=b"}).values("--tag"), (std::vector<std::string>{"a", "b"}));
  EXPECT_TRUE(parse({"x"}).values("--tag").empty());
}

TEST(QuillonToolArgumentsTest, OperandsMayBeOfAnyNumberButNone) {
  EXPECT_EQ(parse({"a", "b", "c"}).operandsOfAnyNumber("FILE"), (std::vector<std::string>{"a", "b", "c"}));
  EXPECT_THROW((void)parse({"--quick"}).operandsOfAnyNumber("FILE"), QuillonToolUsageError);
}

TEST(QuillonToolArgumentsTest, AnOptionThatIsNotGivenHasNoValue) {
  const QuillonToolArguments arguments = parse({});

  EXPECT_FALSE(arguments.has("--quick"));
  EXPECT_EQ(arguments.value("--color"), std::nullopt);
  EXPECT_THROW((void)arguments.requiredValue("--color"), QuillonToolUsageError);
}

TEST(QuillonToolArgumentsTest, AValueMayFollowAnEqualsSignAndThenBeAnything) {
  EXPECT_EQ(parse({"--color=--a=b"}).requiredValue("--color"), "--a=b");
  EXPECT_EQ(parse({"--color="}).requiredValue("--color"), "");
}

TEST(QuillonToolArgumentsTest, WordsAfterTwoDashesAreOperands) {
  const QuillonToolArguments arguments = parse({"--", "--quick", "--"});

  EXPECT_FALSE(arguments.has("--quick"));
  EXPECT_EQ(arguments.operands({"First", "Second"}), (std::vector<std::string>{"--quick", "--"}));
}

TEST(QuillonToolArgumentsTest, OneDashAndTheEmptyWordAreOperands) {
  EXPECT_EQ(parse({"-", ""}).operands({"First", "Second"}), (std::vector<std::string>{"-", ""}));
}

TEST(QuillonToolArgumentsTest, WrongOptionsAreNamed) {
  EXPECT_EQ(errorOf({"--colour"}), "Unknown option \"--colour\". Write \"--\" before words that begin with \"-\".");
  EXPECT_EQ(errorOf({"-q"}), "Unknown option \"-q\". Write \"--\" before words that begin with \"-\".");
  EXPECT_EQ(errorOf({"--quick=yes"}), "Option --quick takes no value.");
  EXPECT_EQ(errorOf({"--color"}), "Option --color needs a value.");
  EXPECT_EQ(errorOf({"--color", "--quick"}), "Option --color needs a value.");
  EXPECT_EQ(errorOf({"--quick", "--quick"}), "Option --quick is given twice; give it once.");
}

TEST(QuillonToolArgumentsTest, TheNumberOfOperandsIsChecked) {
  const QuillonToolArguments arguments = parse({"a"});

  EXPECT_THROW((void)arguments.operands({}), QuillonToolUsageError);
  EXPECT_THROW((void)arguments.operands({"First", "Second"}), QuillonToolUsageError);
  EXPECT_EQ(arguments.operands({"First"}), std::vector<std::string>{"a"});
}

}  // namespace
}  // namespace quillon
