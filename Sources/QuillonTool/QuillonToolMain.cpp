#include "QuillonTool/QuillonToolMain.h"

#include <algorithm>
#include <exception>

#include "QuillonTool/QuillonToolBundleSign.h"
#include "QuillonTool/QuillonToolBundleValidate.h"
#include "QuillonTool/QuillonToolFeedAdd.h"
#include "QuillonTool/QuillonToolFeedExplain.h"
#include "QuillonTool/QuillonToolFeedLint.h"
#include "QuillonTool/QuillonToolFeedSimulate.h"
#include "QuillonTool/QuillonToolMessageShow.h"
#include "QuillonTool/QuillonToolPolicy.h"
#include "QuillonTool/QuillonToolReportShow.h"
#include "QuillonTool/QuillonToolUpdate.h"
#include "QuillonTool/QuillonToolUsageError.h"
#include "QuillonTool/QuillonToolVersionCompare.h"

namespace quillon {
namespace {

/// Whether "--help" stands among the options.
bool asksForHelp(QuillonToolSubcommandList::Words words) {
  const auto end = std::ranges::find(words, "--");
  return std::find(words.begin(), end, "--help") != end;
}

std::string nameOf(const QuillonToolSubcommand* subcommand) {
  std::string name = "quillon";
  if (subcommand != nullptr) name.append(" ").append(subcommand->title());
  return name;
}

}  // namespace

QuillonToolSubcommandList allSubcommands() {
  return QuillonToolSubcommandList({versionCompareSubcommand(), bundleValidateSubcommand(), bundleSignSubcommand(),
                                    messageShowSubcommand(), reportShowSubcommand(), policySubcommand(),
                                    feedLintSubcommand(), feedExplainSubcommand(), feedAddSubcommand(),
                                    feedSimulateSubcommand(), updateSubcommand()});
}

QuillonToolExitStatus QuillonToolMain::execute(const std::vector<std::string>& words,
                                               QuillonToolConsole& console) const noexcept {
  try {
    const QuillonToolExitStatus status = runReportingErrors(words, console);
    if (console.finish()) return status;
    console.printError("quillon: Cannot write to standard output");
  } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch): the exit status still says that it failed
  }
  return kToolFailure;
}

QuillonToolExitStatus QuillonToolMain::runReportingErrors(Words words, QuillonToolConsole& console) const {
  const std::string name = nameOf(subcommands_.find(words));
  try {
    return run(words, console);
  } catch (const QuillonToolUsageError& error) {
    console.printError(name + ": " + error.description());
    console.printError("See '" + name + " --help'.");
    return kToolWrongUsage;
  } catch (const std::exception& error) {
    console.printError(name + ": " + error.what());
    return kToolFailure;
  }
}

QuillonToolExitStatus QuillonToolMain::run(Words words, QuillonToolConsole& console) const {
  const QuillonToolSubcommand* const subcommand = subcommands_.find(words);
  if (subcommand == nullptr) {
    console.printText(information(words));
    return kToolSuccess;
  }
  const Words arguments = words.subspan(subcommand->wordCount());
  if (asksForHelp(arguments)) {
    console.printText(subcommand->help);
    return kToolSuccess;
  }
  return subcommand->action(QuillonToolArguments::parse(arguments, subcommand->options), services_, console);
}

/// The text that words without a subcommand ask for.
std::string QuillonToolMain::information(Words words) const {
  if (words.empty()) throw QuillonToolUsageError("A command is missing.");
  if (words[0] == "--version") return "quillon " + version_ + "\n";
  if (words[0] == "--help") return subcommands_.help({});
  if (words[0] == "help") return subcommands_.help(words.subspan(1));
  if (words.size() == 2 && words[1] == "--help") return subcommands_.help(words.first(1));
  subcommands_.throwUnknown(words);
}

}  // namespace quillon
