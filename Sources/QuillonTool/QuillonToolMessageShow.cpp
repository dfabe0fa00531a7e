#include "QuillonTool/QuillonToolMessageShow.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "QuillonCore/Values/QuillonError.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"
#include "QuillonCore/Values/QuillonPropertyListValue.h"
#include "QuillonTool/QuillonToolFileOperand.h"
#include "QuillonTool/QuillonToolJSONObject.h"
#include "QuillonTool/QuillonToolMessageFields.h"
#include "QuillonTool/QuillonToolUsageError.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskUpdateInstallerError.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCLaunchProgress.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCLaunchProgressKeys.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCMessageRefusal.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCReplacementMessage.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCReplacementResult.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCReplacementResultKeys.h"

namespace quillon {
namespace {

constexpr std::string_view kHelp = R"(Usage: quillon message show --kind request|result|progress FILE [--json]

Shows what a host or its launcher service makes of the message in FILE, a
property list of any format: what each field becomes, with what was received
where that is something else, or why the message cannot be read.

Options:
  --kind request   The host's request to have a bundle replaced.
  --kind result    The service's reply.
  --kind progress  An event that the service reports before it replies.
  --json           Print a JSON object: for a request its fields, for a result
                   or event its case with what that carries. An event that
                   cannot be read is "null".
  --help           Print this text.

Exit status: 0 when the receiver can read the message, 1 when it cannot or the
file holds no property list, 2 for a wrong command line.
)";

constexpr std::string_view kKindOption = "--kind";
constexpr std::size_t kLargestMessage = std::size_t{16} << 20;

using Dictionary = QuillonPropertyListValue::Dictionary;
using Fields = std::vector<QuillonToolMessageField>;
using Value = QuillonPropertyListValue;

const Dictionary& emptyMessage() {
  static const Dictionary kEmpty;
  return kEmpty;
}

/// A message, and where to show it.
struct Showing {
  const Dictionary& message;
  bool isJSON = false;
  QuillonToolConsole& console;

  void print(const QuillonToolJSONObject& object) const { console.printLine(object.text()); }
  void print(const Fields& fields, std::string_view nameKey) const {
    for (const std::string& line : explainingLines(fields, message, nameKey)) console.printLine(line);
  }
};

QuillonToolExitStatus refuseRequest(const VeskAppBundleXPCMessageRefusal& refusal, const Showing& showing) {
  const std::string_view error = caseName(VeskUpdateInstallerError::Code::replacementLaunchFailed);
  if (showing.isJSON) {
    showing.print(QuillonToolJSONObject().with("error", error));
  } else {
    showing.console.printLine("error: " + std::string(error));
    showing.console.printLine("reason: " + refusal.description());
  }
  return kToolFailure;
}

QuillonToolExitStatus showRequest(const Showing& showing) {
  try {
    const Fields fields = messageFields(VeskAppBundleXPCReplacementMessage::read(showing.message));
    if (showing.isJSON) {
      QuillonToolJSONObject object;
      addMembers(fields, object);
      showing.print(object);
    } else {
      showing.print(fields, {});
    }
    return kToolSuccess;
  } catch (const VeskAppBundleXPCMessageRefusal& refusal) {
    return refuseRequest(refusal, showing);
  }
}

bool hasDiagnostic(const VeskAppBundleReplacementLaunchResult& result) {
  using Result = VeskAppBundleReplacementLaunchResult;
  return std::holds_alternative<Result::LaunchFailed>(result.value) ||
         std::holds_alternative<Result::ProtocolFailure>(result.value);
}

QuillonToolJSONObject jsonOf(const VeskAppBundleReplacementLaunchResult& result) {
  QuillonToolJSONObject payload;
  QuillonToolJSONObject object;
  object.with("case", result.caseName());
  addMembers(messageFields(result), hasDiagnostic(result) ? payload : object);
  if (hasDiagnostic(result)) object.withObject("diagnostic", payload);
  return object;
}

void print(const VeskAppBundleReplacementLaunchResult& result, const Showing& showing) {
  if (showing.isJSON) {
    showing.print(jsonOf(result));
  } else {
    showing.console.printLine("case: " + std::string(result.caseName()));
    showing.print(messageFields(result), VeskAppBundleXPCReplacementResultKeys::result);
  }
}

QuillonToolExitStatus showResult(const Showing& showing) {
  try {
    print(readReplacementLaunchResult(showing.message), showing);
    return kToolSuccess;
  } catch (const VeskAppBundleXPCMessageRefusal& refusal) {
    // Nothing of the message is in the result that takes its place.
    print(replacementLaunchResult(showing.message),
          {.message = emptyMessage(), .isJSON = showing.isJSON, .console = showing.console});
    if (!showing.isJSON) showing.console.printLine("reason: " + refusal.description());
    return kToolFailure;
  }
}

QuillonToolExitStatus showProgress(const Showing& showing) {
  try {
    const VeskAppBundleInstallerLaunchProgress progress = readInstallerLaunchProgress(showing.message);
    const Fields fields = messageFields(progress);
    if (showing.isJSON) {
      QuillonToolJSONObject object;
      object.with("case", progress.caseName());
      addMembers(fields, object);
      showing.print(object);
    } else {
      showing.console.printLine("case: " + std::string(progress.caseName()));
      showing.print(fields, VeskAppBundleXPCLaunchProgressKeys::event);
    }
    return kToolSuccess;
  } catch (const VeskAppBundleXPCMessageRefusal& refusal) {
    showing.console.printLine(showing.isJSON ? "null" : "dropped: " + refusal.description());
    return kToolFailure;
  }
}

using Show = QuillonToolExitStatus (*)(const Showing&);

Show readKind(const QuillonToolArguments& arguments) {
  const std::string& kind = arguments.requiredValue(kKindOption);
  if (kind == "request") return showRequest;
  if (kind == "result") return showResult;
  if (kind == "progress") return showProgress;
  throw QuillonToolUsageError("The kind \"" + kind + "\" is none; write request, result or progress.");
}

Value readList(const QuillonURL& file, const QuillonFileManaging& fileManager) {
  const std::string bytes = fileManager.contentsOfFile(file, kLargestMessage);
  try {
    return readPropertyList(bytes);
  } catch (const QuillonPropertyListError& error) {
    throw QuillonError(file.path() + " is no property list: " + error.description());
  }
}

QuillonToolExitStatus show(const QuillonToolArguments& arguments, const QuillonToolServices& services,
                           QuillonToolConsole& console) {
  const Show showKind = readKind(arguments);
  const Value list = readList(fileOperand(arguments, "FILE"), *services.fileManager);
  const bool isJSON = arguments.has("--json");
  const auto* const message = list.getIf<Dictionary>();
  if (message == nullptr && !isJSON) console.printLine("No dictionary: counts as an empty one");
  return showKind({.message = message == nullptr ? emptyMessage() : *message, .isJSON = isJSON, .console = console});
}

}  // namespace

QuillonToolSubcommand messageShowSubcommand() {
  using Kind = QuillonToolOption::Kind;
  return {.group = "message",
          .name = "show",
          .summary = "Show what a host or its launcher service makes of a message",
          .help = kHelp,
          .options = {{.name = kKindOption, .kind = Kind::withValue}, {.name = "--json"}},
          .action = show};
}

}  // namespace quillon
