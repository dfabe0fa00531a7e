#include "QuillonTool/QuillonToolPolicy.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "QuillonCore/Runtime/QuillonBundleInformation.h"
#include "QuillonCore/Runtime/QuillonLocalizationBundle.h"
#include "QuillonCore/Text/QuillonLocalizedFormat.h"
#include "QuillonTool/PolkitActionFile.h"
#include "QuillonTool/QuillonToolFileOperand.h"
#include "QuillonTool/QuillonToolUsageError.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdHelperLauncher.h"

namespace quillon {
namespace {

using Launcher = VeskAppBundleLaunchdHelperLauncher;

constexpr std::string_view kHelp = R"(Usage: quillon policy APP [--output FILE]

Writes the file that tells polkit, on Linux, what to say when an administrator
has to allow an update of the application bundle APP: in English, and in every
language that has the text in Contents/Resources/LANGUAGE.lproj/
Localizable.strings. Install it with the application, as
/usr/share/polkit-1/actions/IDENTIFIER.quillon-update.policy, where IDENTIFIER
is the bundle's. Without it the dialog says that units are managed.

Options:
  --output FILE  Write FILE instead of standard output.
  --help         Print this text.

Exit status: 0 when the file was written, 1 when it was not, 2 for a wrong
command line.
)";

constexpr std::string_view kOutput = "--output";
/// Key and English text of what administrators read of the right, with a place for the application's name. For
/// translators: name of the right to update an app, as tools for administrators list it.
constexpr std::string_view kDescriptionFormat = "Update %@";

/// The request that a launcher would get from the application.
VeskAppBundleReplacementRequest makeRequest(const QuillonURL& application, const QuillonFileManaging& fileManager) {
  const auto identifier = bundleInformationText(fileManager, application, "CFBundleIdentifier");
  if (!identifier || identifier->empty()) {
    throw QuillonError("The bundle " + application.path() + " has no CFBundleIdentifier in Contents/Info.plist");
  }
  return {.stagedApplicationURL = application,
          .installedApplicationURL = application,
          .helperExecutableURL = {},
          .hostIdentity = VeskAppBundleUpdateHostIdentity{.bundleIdentifier = *identifier,
                                                          .applicationVersion = {},
                                                          .applicationBuild = 0,
                                                          .expectedTeamIdentifier = {},
                                                          .allowsSameBuildReplacement = false},
          .shouldRequestAuthorizationIfNeeded = true,
          .launchUserContext = {},
          .failureReportURL = {},
          .failureReportAttemptIdentifier = {}};
}

/// The text of `key` in every language, each as `complete` makes it of the format.
template <typename Complete>
PolkitActionFile::Text readText(const QuillonLocalizationBundle& localization, std::string_view key,
                                const Complete& complete) {
  PolkitActionFile::Text text{.english = complete(key), .translations = {}};
  for (const std::string& language : localization.languages()) {
    if (const auto format = localization.textInLanguage(language, key)) {
      text.translations.emplace(PolkitActionFile::localeName(language), complete(*format));
    }
  }
  return text;
}

PolkitActionFile makeFile(const QuillonURL& application, const QuillonToolServices& services) {
  const VeskAppBundleReplacementRequest request = makeRequest(application, *services.fileManager);
  const QuillonLocalizationBundle localization(services.fileManager, application, {});
  const std::string_view name = application.nameWithoutExtension();
  PolkitActionFile file{
      .actionIdentifier = Launcher::authorizationRightName(request),
      .vendor = std::string(name),
      .description = readText(localization, kDescriptionFormat,
                              [name](std::string_view format) { return formattedText(format, {name}); }),
      .message = readText(localization, Launcher::kPromptFormat, [&request](std::string_view format) {
        return Launcher::authorizationPrompt(request, format);
      })};
  if (!PolkitActionFile::isActionIdentifier(file.actionIdentifier)) {
    throw QuillonError("polkit has no place for the bundle identifier \"" + request.hostIdentity->bundleIdentifier +
                       "\": names of actions are made of letters, digits, periods and hyphens");
  }
  return file;
}

QuillonToolExitStatus writePolicy(const QuillonToolArguments& arguments, const QuillonToolServices& services,
                                  QuillonToolConsole& console) {
  const QuillonURL application = fileOperand(arguments, "APP");
  const std::optional<std::string> output = arguments.value(kOutput);
  if (output && output->empty()) {
    throw QuillonToolUsageError("The option --output has an empty path; write where the file is to go.");
  }
  requireBundle(application, *services.fileManager);
  const std::string content = makeFile(application, services).content();
  if (output) {
    services.fileManager->writeFileAtomically(QuillonURL::fileURL(*output), content);
  } else {
    console.printText(content);
  }
  return kToolSuccess;
}

}  // namespace

QuillonToolSubcommand policySubcommand() {
  return {.group = "policy",
          .name = {},
          .summary = "Write the polkit action file of an application",
          .help = kHelp,
          .options = {{.name = kOutput, .kind = QuillonToolOption::Kind::withValue}},
          .action = writePolicy};
}

}  // namespace quillon
