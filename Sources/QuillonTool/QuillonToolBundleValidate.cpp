#include "QuillonTool/QuillonToolBundleValidate.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "QuillonCore/Text/DecimalNumber.h"
#include "QuillonTool/QuillonToolFileOperand.h"
#include "QuillonTool/QuillonToolJSONObject.h"
#include "QuillonTool/QuillonToolUsageError.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleCodeSignatureValidator.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleInstallerOptions.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskUpdateInstallerError.h"

namespace quillon {
namespace {

constexpr std::string_view kHelp = R"(Usage: quillon bundle validate BUNDLE --bundle-id ID --app-version VERSION
           --app-build BUILD [--expected-team-id TEAM]
           [--allows-same-build-replacement 0|1] [--os-version X.Y.Z] [--json]

Says whether the installer would accept BUNDLE as an update of the application
that the options describe. Prints "accepted", or the name of the first rule
that the bundle breaks and a line that says what was expected and found.

Options:
  --bundle-id ID           Identifier of the installed application.
  --app-version VERSION    Its version (CFBundleShortVersionString).
  --app-build BUILD        Its build, a decimal number (CFBundleVersion).
  --expected-team-id TEAM  Team that must have signed the bundle. Without it,
                           any valid signature is accepted.
  --allows-same-build-replacement 0|1
                           Whether a bundle with the same build is accepted,
                           whatever its version (default: 0).
  --os-version X.Y.Z       System that the bundle is to run on (default: the
                           system of this machine).
  --json                   Print a JSON object.
  --help                   Print this text.

Exit status: 0 when the bundle is accepted, 1 when it is rejected or cannot be
checked, 2 for a wrong command line.
)";

constexpr std::string_view kSystemVersionOption = "--os-version";
using Options = VeskAppBundleInstallerOptions;

std::int64_t readBuild(const std::string& text) {
  const auto build = decimalNumber<std::int64_t>(text);
  if (!build) throw QuillonToolUsageError("The build \"" + text + "\" is no whole number; write digits only.");
  return *build;
}

bool readSameBuildReplacement(const QuillonToolArguments& arguments) {
  const std::string text = arguments.value(Options::allowsSameBuildReplacement).value_or("0");
  if (text != "0" && text != "1") {
    throw QuillonToolUsageError(std::string(Options::allowsSameBuildReplacement) + " is \"" + text +
                                "\"; write 0 or 1.");
  }
  return text == "1";
}

/// One to three numbers with periods between them; those left out are 0.
std::optional<QuillonSystemVersion> parseSystemVersion(std::string_view text) {
  std::array<std::int64_t, 3> numbers{};
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    const std::size_t period = text.find('.');
    const std::string_view piece = text.substr(0, period);
    const auto number = decimalNumber<std::int64_t>(piece);
    if (!number || piece.front() < '0' || piece.front() > '9') return std::nullopt;
    numbers.at(i) = *number;
    if (period == std::string_view::npos) {
      return QuillonSystemVersion{.major = numbers[0], .minor = numbers[1], .patch = numbers[2]};
    }
    text.remove_prefix(period + 1);
  }
  return std::nullopt;
}

QuillonSystemVersion readSystemVersion(const QuillonToolArguments& arguments, const QuillonSystemVersion& running) {
  const std::optional<std::string> text = arguments.value(kSystemVersionOption);
  if (!text) return running;
  const std::optional<QuillonSystemVersion> version = parseSystemVersion(*text);
  if (!version) throw QuillonToolUsageError("The system version \"" + *text + "\" is none; write it as 14.5.0.");
  return *version;
}

VeskAppBundleUpdateHostIdentity readHostIdentity(const QuillonToolArguments& arguments) {
  return {.bundleIdentifier = arguments.requiredValue(Options::bundleIdentifier),
          .applicationVersion = arguments.requiredValue(Options::applicationVersion),
          .applicationBuild = readBuild(arguments.requiredValue(Options::applicationBuild)),
          .expectedTeamIdentifier = arguments.value(Options::expectedTeamIdentifier),
          .allowsSameBuildReplacement = readSameBuildReplacement(arguments)};
}

QuillonToolExitStatus accept(bool isJSON, QuillonToolConsole& console) {
  console.printLine(isJSON ? QuillonToolJSONObject()
                                 .with("result", "accepted")
                                 .with("error", std::nullopt)
                                 .with("diagnostic", std::nullopt)
                                 .text()
                           : "accepted");
  return kToolSuccess;
}

QuillonToolExitStatus reject(std::string_view error, std::string_view diagnostic, bool isJSON,
                             QuillonToolConsole& console) {
  if (isJSON) {
    console.printLine(
        QuillonToolJSONObject().with("result", "rejected").with("error", error).with("diagnostic", diagnostic).text());
  } else {
    console.printLine(error);
    console.printLine(diagnostic);
  }
  return kToolFailure;
}

QuillonToolExitStatus validate(const QuillonToolArguments& arguments, const QuillonToolServices& services,
                               QuillonToolConsole& console) {
  const QuillonURL bundle = fileOperand(arguments, "BUNDLE");
  const VeskAppBundleUpdateHostIdentity hostIdentity = readHostIdentity(arguments);
  const QuillonSystemVersion systemVersion = readSystemVersion(arguments, services.systemVersion);
  const bool isJSON = arguments.has("--json");
  requireBundle(bundle, *services.fileManager);

  // The one rejection that the validator has no line for.
  std::string diagnostic = "Contents/Info.plist is missing or is no property list of keys and values";
  const VeskAppBundleCodeSignatureValidator validator(
      services.fileManager, [&diagnostic](std::string_view line) { diagnostic = line; }, services.processRunner,
      services.codeSigningToolPath, systemVersion);
  try {
    validator.validateAppBundle(bundle, hostIdentity);
  } catch (const VeskUpdateInstallerError& error) {
    return reject(caseName(error.code()), diagnostic, isJSON, console);
  }
  return accept(isJSON, console);
}

}  // namespace

QuillonToolSubcommand bundleValidateSubcommand() {
  using Kind = QuillonToolOption::Kind;
  return {.group = "bundle",
          .name = "validate",
          .summary = "Say whether the installer would accept a bundle",
          .help = kHelp,
          .options = {{.name = Options::bundleIdentifier, .kind = Kind::withValue},
                      {.name = Options::applicationVersion, .kind = Kind::withValue},
                      {.name = Options::applicationBuild, .kind = Kind::withValue},
                      {.name = Options::expectedTeamIdentifier, .kind = Kind::withValue},
                      {.name = Options::allowsSameBuildReplacement, .kind = Kind::withValue},
                      {.name = kSystemVersionOption, .kind = Kind::withValue},
                      {.name = "--json"}},
          .action = validate};
}

}  // namespace quillon
