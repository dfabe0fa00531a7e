#include "QuillonTool/QuillonToolVersionCompare.h"

#include <algorithm>
#include <cstddef>
#include <string>

#include "QuillonCore/VeskVersionComparator.h"
#include "QuillonTool/QuillonToolJSONObject.h"
#include "QuillonTool/QuillonToolUsageError.h"

namespace quillon {
namespace {

constexpr std::string_view kHelp = R"(Usage: quillon version compare [--json] A B
       quillon version compare [--json] --stdin

Says how the version A is ordered against the version B, by the rule that
decides which update is newer: prints "ascending" when A is older, "same", or
"descending" when A is newer.

Options:
  --stdin  Read pairs from standard input, one to a line, A and B with one tab
           between them; answer each with one line. Stops at the first line
           without exactly one tab.
  --json   Print a JSON object for each pair.
  --help   Print this text.

Write "--" before a version that begins with "-".

Exit status: 0 when all pairs were compared, 1 when input or output failed,
2 for a wrong command line or a line that is no pair.
)";

std::string_view resultName(ComparisonResult result) {
  switch (result) {
    case ComparisonResult::ascending:
      return "ascending";
    case ComparisonResult::same:
      return "same";
    case ComparisonResult::descending:
      break;
  }
  return "descending";
}

void answer(std::string_view a, std::string_view b, bool isJSON, QuillonToolConsole& console) {
  const std::string_view result = resultName(VeskVersionComparator::compareVersion(a, b));
  console.printLine(isJSON ? QuillonToolJSONObject().with("a", a).with("b", b).with("result", result).text()
                           : std::string(result));
}

void answerLine(std::string_view line, std::size_t lineNumber, bool isJSON, QuillonToolConsole& console) {
  const auto tabs = std::ranges::count(line, '\t');
  if (tabs != 1) {
    throw QuillonToolUsageError("Line " + std::to_string(lineNumber) + " of the input has " + std::to_string(tabs) +
                                " tabs; write two versions with one tab between them.");
  }
  const std::size_t tab = line.find('\t');
  answer(line.substr(0, tab), line.substr(tab + 1), isJSON, console);
}

void answerLines(bool isJSON, QuillonToolConsole& console) {
  std::string line;
  for (std::size_t lineNumber = 1; std::getline(console.input(), line); ++lineNumber) {
    answerLine(line, lineNumber, isJSON, console);
  }
  if (console.input().bad()) throw QuillonError("Cannot read standard input");
}

QuillonToolExitStatus compare(const QuillonToolArguments& arguments, const QuillonToolServices& /*services*/,
                              QuillonToolConsole& console) {
  const bool isJSON = arguments.has("--json");
  if (arguments.has("--stdin")) {
    (void)arguments.operands({});
    answerLines(isJSON, console);
  } else {
    const auto& versions = arguments.operands({"The version A", "The version B"});
    answer(versions[0], versions[1], isJSON, console);
  }
  return kToolSuccess;
}

}  // namespace

QuillonToolSubcommand versionCompareSubcommand() {
  return {.group = "version",
          .name = "compare",
          .summary = "Say how one version is ordered against another",
          .help = kHelp,
          .options = {{.name = "--stdin"}, {.name = "--json"}},
          .action = compare};
}

}  // namespace quillon
