#include "QuillonTool/QuillonToolFeedLint.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "QuillonCore/Text/CountedNoun.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonTool/FeedLint/FeedFindingText.h"
#include "QuillonTool/FeedLint/FeedLint.h"
#include "QuillonTool/QuillonToolFeedFile.h"
#include "QuillonTool/QuillonToolFileOperand.h"
#include "QuillonTool/QuillonToolJSONObject.h"

namespace quillon {
namespace {

constexpr std::string_view kHelp = R"(Usage: quillon feed lint [--strict] [--json] FILE...

Checks every entry of the feeds in the files: unknown and repeated keys, values
of a wrong type or form, ranges that admit nothing, addresses that are not
https, entries that are never offered or that an earlier one shadows. For each
finding prints the entry's number (from 1), the key, what a host does with it,
and how to mend it.

Options:
  --strict  Let warnings count: end with status 1 when there is one.
  --json    Print a JSON object.
  --help    Print this text.

Exit status: 0 when there are no errors, 1 when there are warnings and --strict
is given, 2 when there are errors, a file cannot be read, or for a wrong command
line.
)";

/// A file and what is to be said about it.
struct LintedFile {
  std::string path;
  FeedLintReport report;
};

LintedFile lintFile(const std::string& path, const QuillonFileManaging& fileManager) {
  const QuillonURL file = fileAt(path, "FILE");
  try {
    return {.path = path, .report = lintFeedBytes(bytesOfFeed(file, fileManager))};
  } catch (const QuillonError& error) {
    // One file that cannot be read does not keep the others from being checked.
    return {.path = path,
            .report = {.findings = {{.problem = error.description() + ".",
                                     .effect = "Nothing in it was checked.",
                                     .mend = "Write the path of a file that can be read."}}}};
  }
}

void print(const LintedFile& file, QuillonToolConsole& console) {
  for (const FeedFinding& finding : file.report.findings) console.printLine(file.path + ": " + findingLine(finding));
  console.printLine(file.path + ": " + countedNoun(file.report.entryCount, "entry", "entries") + ", " +
                    countedNoun(file.report.count(FeedFindingSeverity::error), "error", "errors") + ", " +
                    countedNoun(file.report.count(FeedFindingSeverity::warning), "warning", "warnings"));
}

QuillonToolJSONObject jsonOf(const LintedFile& file) {
  std::vector<QuillonToolJSONObject> findings;
  for (const FeedFinding& finding : file.report.findings) findings.push_back(findingObject(finding));
  return QuillonToolJSONObject()
      .with("file", file.path)
      .withNumber("entries", file.report.entryCount)
      .withNumber("errors", file.report.count(FeedFindingSeverity::error))
      .withNumber("warnings", file.report.count(FeedFindingSeverity::warning))
      .withObjects("findings", findings);
}

bool hasAny(const std::vector<LintedFile>& files, FeedFindingSeverity severity) noexcept {
  return std::ranges::any_of(files, [severity](const LintedFile& file) { return file.report.count(severity) > 0; });
}

QuillonToolExitStatus statusOf(const std::vector<LintedFile>& files, bool isStrict) noexcept {
  if (hasAny(files, FeedFindingSeverity::error)) return kToolWrongUsage;
  return isStrict && hasAny(files, FeedFindingSeverity::warning) ? kToolFailure : kToolSuccess;
}

QuillonToolExitStatus lint(const QuillonToolArguments& arguments, const QuillonToolServices& services,
                           QuillonToolConsole& console) {
  std::vector<LintedFile> files;
  for (const std::string& path : arguments.operandsOfAnyNumber("FILE")) {
    files.push_back(lintFile(path, *services.fileManager));
  }
  if (arguments.has("--json")) {
    std::vector<QuillonToolJSONObject> objects;
    objects.reserve(files.size());
    for (const LintedFile& file : files) objects.push_back(jsonOf(file));
    console.printLine(QuillonToolJSONObject().withObjects("files", objects).text());
  } else {
    for (const LintedFile& file : files) print(file, console);
  }
  return statusOf(files, arguments.has("--strict"));
}

}  // namespace

QuillonToolSubcommand feedLintSubcommand() {
  return {.group = "feed",
          .name = "lint",
          .summary = "Check the entries of feeds",
          .help = kHelp,
          .options = {{.name = "--strict"}, {.name = "--json"}},
          .action = lint};
}

}  // namespace quillon
