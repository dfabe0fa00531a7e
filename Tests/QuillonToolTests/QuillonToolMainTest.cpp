#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <sstream>
#include <string>
#include <vector>

#include "QuillonCore/Values/QuillonError.h"
#include "QuillonTool/QuillonToolMain.h"
#include "QuillonToolTests/ToolRun.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using ::testing::Contains;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using testing::ToolResult;
using testing::ToolRun;

TEST(QuillonToolMainTest, PrintsItsVersion) {
  EXPECT_EQ(ToolRun()({"--version"}), (ToolResult{.status = 0, .output = "quillon 1.2.3\n"}));
}

TEST(QuillonToolMainTest, HelpCanBeAskedForInTwoWays) {
  const ToolRun run;

  EXPECT_THAT(run({"--help"}).output, StartsWith("Usage: quillon COMMAND SUBCOMMAND"));
  EXPECT_EQ(run({"help"}), run({"--help"}));
  EXPECT_EQ(run({"help", "version"}), run({"version", "--help"}));
  EXPECT_EQ(run({"help", "version", "compare"}), run({"version", "compare", "--help"}));
}

TEST(QuillonToolMainTest, ASubcommandOfOneWordHasHelpToo) {
  const ToolRun run;

  EXPECT_THAT(run({"policy", "--help"}).output, StartsWith("Usage: quillon policy APP"));
  EXPECT_EQ(run({"help", "policy"}), run({"policy", "--help"}));
  EXPECT_THAT(run({"policy"}).error, EndsWith("\nSee 'quillon policy --help'.\n"));
}

class QuillonToolMainHelpTest : public ::testing::TestWithParam<std::vector<std::string>> {};

TEST_P(QuillonToolMainHelpTest, ShowsUsageAndExitStatus) {
  const std::vector<std::string>& names = GetParam();

  const ToolResult result = ToolRun()({names[0], names[1], "--wrong", "--help"});

  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.error, IsEmpty());
  EXPECT_THAT(result.output, StartsWith("Usage: quillon " + names[0] + " " + names[1] + " "));
  EXPECT_THAT(result.output, HasSubstr("\n  --help "));
  EXPECT_THAT(result.output, HasSubstr("\nExit status: 0 "));
}

/// The words of `help` that are options, as the source of a manual page writes them.
std::vector<std::string> optionsForManualPage(const std::string& help) {
  std::vector<std::string> options;
  for (std::size_t i = help.find("--"); i != std::string::npos; i = help.find("--", i)) {
    std::string option;
    for (; i < help.size() && (help[i] == '-' || (help[i] >= 'a' && help[i] <= 'z')); ++i) {
      option += help[i] == '-' ? "\\-" : std::string(1, help[i]);
    }
    options.push_back(option);
  }
  return options;
}

TEST_P(QuillonToolMainHelpTest, TheManualPageNamesEveryOptionOfTheHelp) {
  const std::vector<std::string>& names = GetParam();
  const std::string page = testing::readFile(QUILLON_SOURCE_FOLDER "/docs/man/quillon.1");

  const std::vector<std::string> options = optionsForManualPage(ToolRun()({names[0], names[1], "--help"}).output);

  EXPECT_THAT(page, HasSubstr("\n.SS quillon " + names[0] + " " + names[1] + "\n"));
  EXPECT_THAT(options, Contains("\\-\\-help"));
  for (const std::string& option : options) EXPECT_THAT(page, HasSubstr(option));
}

INSTANTIATE_TEST_SUITE_P(EverySubcommand, QuillonToolMainHelpTest,
                         ::testing::Values(std::vector<std::string>{"version", "compare"},
                                           std::vector<std::string>{"bundle", "validate"},
                                           std::vector<std::string>{"bundle", "sign"},
                                           std::vector<std::string>{"report", "show"}),
                         [](const auto& test) { return test.param[0] + "_" + test.param[1]; });

TEST(QuillonToolMainTest, AfterTwoDashesHelpIsAWordLikeOthers) {
  EXPECT_EQ(ToolRun()({"version", "compare", "--", "--help", "--help"}).output, "same\n");
}

TEST(QuillonToolMainTest, UnknownWordsAreAUsageErrorWithAHint) {
  const ToolResult result = ToolRun()({"upgrade", "\x1b[0m"});

  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(result.output, IsEmpty());
  EXPECT_THAT(result.error, StartsWith("quillon: Unknown command \"upgrade\"; the commands are version"));
  EXPECT_THAT(result.error, EndsWith("\nSee 'quillon --help'.\n"));
}

TEST(QuillonToolMainTest, AMissingCommandIsAUsageError) {
  EXPECT_EQ(
      ToolRun()({}),
      (ToolResult{.status = 2, .output = {}, .error = "quillon: A command is missing.\nSee 'quillon --help'.\n"}));
  EXPECT_THAT(ToolRun()({"version"}).error, StartsWith("quillon: The command \"version\" needs a subcommand: compare"));
}

TEST(QuillonToolMainTest, TheHintNamesTheSubcommand) {
  const ToolResult result = ToolRun()({"version", "compare", "--fast"});

  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(result.error, StartsWith("quillon version compare: Unknown option \"--fast\"."));
  EXPECT_THAT(result.error, EndsWith("\nSee 'quillon version compare --help'.\n"));
}

TEST(QuillonToolMainTest, OutputThatIsLostIsAFailure) {
  std::istringstream input;
  std::ostringstream output;
  std::ostringstream error;
  output.setstate(std::ios::badbit);
  QuillonToolConsole console(input, output, error);

  const int status = QuillonToolMain({}, "1.2.3").execute({"--version"}, console);

  EXPECT_EQ(status, 1);
  EXPECT_EQ(error.str(), "quillon: Cannot write to standard output\n");
}

QuillonToolExitStatus failAfterALine(const QuillonToolArguments& /*arguments*/, const QuillonToolServices& /*services*/,
                                     QuillonToolConsole& console) {
  console.printLine("begun");
  throw QuillonError("It broke\a");
}

TEST(QuillonToolMainTest, AFailureIsReportedAfterWhatWasPrinted) {
  std::istringstream input;
  std::stringstream both;
  QuillonToolConsole console(input, both, both);
  const QuillonToolMain tool(
      {}, "1.2.3",
      QuillonToolSubcommandList(
          {{.group = "tea", .name = "brew", .summary = {}, .help = {}, .options = {}, .action = failAfterALine}}));

  const int status = tool.execute({"tea", "brew"}, console);

  EXPECT_EQ(status, 1);
  EXPECT_EQ(both.str(), "begun\nquillon tea brew: It broke\\x07\n");
}

}  // namespace
}  // namespace quillon
