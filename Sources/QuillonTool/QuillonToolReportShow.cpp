#include "QuillonTool/QuillonToolReportShow.h"

#include <optional>
#include <string>
#include <string_view>

#include "QuillonCore/Values/PropertyListCodec/PropertyListScalars.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonTool/QuillonToolFileOperand.h"
#include "QuillonTool/QuillonToolJSONObject.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleUpdateFailureReport.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleUpdateFailureReportStore.h"

namespace quillon {
namespace {

constexpr std::string_view kHelp = R"(Usage: quillon report show PATH [--json]

Shows the failure report in the file PATH, which the installer leaves for the
application when an update fails: what went wrong, when (in UTC), and in which
attempt. The file stays as it is.

Options:
  --json  Print a JSON object.
  --help  Print this text.

Exit status: 0 when the report was shown, 1 when the file is no failure report
or cannot be read, 2 for a wrong command line.
)";

VeskAppBundleUpdateFailureReport readReport(const QuillonURL& file, const QuillonFileManaging& fileManager) {
  const std::string bytes = fileManager.contentsOfFile(file, VeskAppBundleUpdateFailureReportStore::kLargestReport);
  try {
    return VeskAppBundleUpdateFailureReport::decoded(bytes);
  } catch (const QuillonError& error) {
    throw QuillonError(file.path() + " is no failure report: " + error.description());
  }
}

/// In the form of ISO 8601; absent for years that the form has no room for.
std::optional<std::string> timeText(const VeskAppBundleUpdateFailureReport& report) {
  try {
    return propertyListDateText(report.failedAt);
  } catch (const QuillonError&) {
    return std::nullopt;
  }
}

QuillonToolExitStatus show(const QuillonToolArguments& arguments, const QuillonToolServices& services,
                           QuillonToolConsole& console) {
  const VeskAppBundleUpdateFailureReport report = readReport(fileOperand(arguments, "PATH"), *services.fileManager);
  const std::optional<std::string> time = timeText(report);
  if (arguments.has("--json")) {
    console.printLine(QuillonToolJSONObject()
                          .with("errorDescription", report.errorDescription)
                          .with("failedAt", time)
                          .with("attemptIdentifier", report.attemptIdentifier)
                          .text());
  } else {
    console.printLine("Description: " + report.errorDescription);
    console.printLine("Time: " + time.value_or("outside the years 0 to 9999"));
    console.printLine("Attempt: " + report.attemptIdentifier.value_or("none"));
  }
  return kToolSuccess;
}

}  // namespace

QuillonToolSubcommand reportShowSubcommand() {
  return {.group = "report",
          .name = "show",
          .summary = "Show the report of a failed installation",
          .help = kHelp,
          .options = {{.name = "--json"}},
          .action = show};
}

}  // namespace quillon
