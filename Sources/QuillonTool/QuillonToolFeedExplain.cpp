#include "QuillonTool/QuillonToolFeedExplain.h"

#include <optional>
#include <string>
#include <string_view>

#include "QuillonCore/Runtime/QuillonSystemClock.h"
#include "QuillonTool/FeedExplain/FeedCheckContext.h"
#include "QuillonTool/FeedExplain/FeedExplanation.h"
#include "QuillonTool/FeedLint/QuotedFeedText.h"
#include "QuillonTool/QuillonToolFeedFile.h"
#include "QuillonTool/QuillonToolFileOperand.h"
#include "QuillonUpdatesCore/VeskUpdateFeed.h"

namespace quillon {
namespace {

constexpr std::string_view kHelp = R"(Usage: quillon feed explain FILE --app-version VERSION --app-build BUILD
           --os VERSION [--language CODE] [--sku SKU]... [--beta] [--manual]
           [--stagger-group N] [--now DATE] [--last-shown DATE]
           [--reminder-hours N] [--stored-id ID] [--reset-stored-id]
           [--no-processing] [--bypass] [--json]

Says what an installed application makes of each entry of the feed in FILE:
every test with its inputs and outcome, the two results field by field, and at
the end the entry that is offered. Tests after one that failed are shown too,
though the application does not come to them.

Options:
  --app-version VERSION  Version of the installed application.
  --app-build BUILD      Its build; below 1 when it is unknown.
  --os VERSION           Version of the operating system.
  --language CODE        Language that the user prefers.
  --sku SKU              Way of distribution that the application accepts; may
                         be given several times.
  --beta                 The user wants betas.
  --manual               The user asked for this check.
  --stagger-group N      Put staggering in force; the user waits N days.
  --now DATE             Time of the check (default: now).
  --last-shown DATE      When an update was last shown (default: never).
  --reminder-hours N     Hours from then on without another one (default: 0).
  --stored-id ID         Identifier of the entry that was last shown.
  --reset-stored-id      Forget that identifier.
  --no-processing        The application does not process feeds.
  --bypass               Skip the tests of ranges, distribution, language and
                         version.
  --json                 Print a JSON object.
  --help                 Print this text.

A DATE is 2024-06-10T12:00:00Z, with an offset 2024-06-10T14:00:00+02:00, or
2024-06-10 for the start of that day in this machine's time zone.

Exit status: 0 when the feed was explained, whether an entry is offered or not;
1 when the file is no feed or cannot be read; 2 for a wrong command line.
)";

/// "Entry 2 "3.0": not offered, os: "12.6" is not within "13.0"".
std::string headline(const FeedEntryExplanation& entry) {
  std::string line = "Entry " + std::to_string(entry.index + 1);
  if (entry.applicability.resolvedFeedIdentifier) {
    line += " " + quotedFeedText(*entry.applicability.resolvedFeedIdentifier);
  }
  const FeedEntryTest* const test = entry.decidingTest();
  return test == nullptr ? line + ": can be offered"
                         : line.append(": not offered, ").append(test->name).append(": ").append(test->reason);
}

void print(const FeedEntryExplanation& entry, QuillonToolConsole& console) {
  console.printLine(headline(entry));
  for (const FeedEntryTest& test : entry.tests) {
    console.printLine("  " + std::string(test.name) + " " + std::string(outcomeName(test.outcome)) + ": " +
                      test.reason + " " + test.inputs.text());
  }
  console.printLine("  applicability " + jsonOf(entry.applicability).text());
  console.printLine("  display " + jsonOf(entry.display).text());
}

void explainInText(const VeskUpdateFeed& feed, const FeedCheckContext& context, QuillonToolConsole& console) {
  const auto offered =
      explainFeed(feed, context, [&console](const FeedEntryExplanation& entry) { print(entry, console); });
  console.printLine("Offered: " + (offered ? "entry " + std::to_string(*offered + 1) : "none"));
}

void explainInJSON(const VeskUpdateFeed& feed, const FeedCheckContext& context, QuillonToolConsole& console) {
  std::vector<QuillonToolJSONObject> entries;
  const auto offered =
      explainFeed(feed, context, [&entries](const FeedEntryExplanation& entry) { entries.push_back(entry.json()); });
  QuillonToolJSONObject object;
  object.withObjects("entries", entries);
  if (offered) {
    object.withNumber("offered", *offered);
  } else {
    object.with("offered", std::nullopt);
  }
  console.printLine(object.text());
}

QuillonToolExitStatus explain(const QuillonToolArguments& arguments, const QuillonToolServices& services,
                              QuillonToolConsole& console) {
  const QuillonURL file = fileOperand(arguments, "FILE");
  const FeedCheckContext context = readFeedCheckContext(arguments, QuillonSystemClock().now());
  const VeskUpdateFeed feed = readFeedFile(file, *services.fileManager);
  if (arguments.has("--json")) {
    explainInJSON(feed, context, console);
  } else {
    explainInText(feed, context, console);
  }
  return kToolSuccess;
}

std::vector<QuillonToolOption> options() {
  std::vector<QuillonToolOption> options = feedCheckOptions();
  options.push_back({.name = "--json"});
  return options;
}

}  // namespace

QuillonToolSubcommand feedExplainSubcommand() {
  return {.group = "feed",
          .name = "explain",
          .summary = "Say which entry an installation is offered, and why",
          .help = kHelp,
          .options = options(),
          .action = explain};
}

}  // namespace quillon
