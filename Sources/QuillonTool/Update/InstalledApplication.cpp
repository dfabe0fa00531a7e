#include "QuillonTool/Update/InstalledApplication.h"

#include <utility>

#include "QuillonCore/Runtime/QuillonBundleInformation.h"
#include "QuillonCore/Text/DecimalNumber.h"
#include "QuillonCore/Text/Newlines.h"
#include "QuillonCore/Text/QuillonPathComponent.h"
#include "QuillonTool/Update/UpdateFailure.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleCodeSignatureOutput.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleUpdateHelperIdentity.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherServiceInfo.h"

namespace quillon {
namespace {

/// What the tool prints for a signature without team.
constexpr std::string_view kNoTeam = "not set";

QuillonURL resolveBundle(const QuillonFileManaging& fileManager, const QuillonURL& bundle) {
  if (!fileManager.directoryExists(bundle)) {
    throw UpdateFailure("noBundle", "There is no application bundle at " + bundle.path() + ".");
  }
  return fileManager.resolvingSymbolicLinks(bundle);
}

/// Reads texts of one bundle.
class Information {
 public:
  Information(const QuillonFileManaging& fileManager, const QuillonURL& bundle)
      : fileManager_(fileManager), bundle_(bundle) {}

  [[nodiscard]] std::string text(std::string_view key) const {
    const std::optional<std::string> text = bundleInformationText(fileManager_, bundle_, key);
    return std::string(trimmed(text.value_or("")));
  }
  [[nodiscard]] std::string required(std::string_view key) const {
    std::string value = text(key);
    if (value.empty()) {
      throw UpdateFailure("incompleteBundle", bundle_.path() + " has no " + std::string(key) +
                                                  " in Contents/Info.plist: it is no complete application.");
    }
    return value;
  }

 private:
  const QuillonFileManaging& fileManager_;
  const QuillonURL& bundle_;
};

std::string readName(const Information& information, const QuillonURL& bundle) {
  for (const std::string_view key : {"CFBundleDisplayName", "CFBundleName"}) {
    std::string name = information.text(key);
    if (!name.empty()) return name;
  }
  return std::string(bundle.nameWithoutExtension());
}

std::optional<QuillonURL> readFeed(const Information& information) {
  const std::string text = information.text(InstalledApplication::feedURLKey);
  if (text.empty()) return std::nullopt;
  std::optional<QuillonURL> url = QuillonURL::parse(text);
  if (!url) {
    throw UpdateFailure("noFeedURL", std::string(InstalledApplication::feedURLKey) +
                                         " in Contents/Info.plist is no URL: \"" + text +
                                         "\". Name the feed with --feed.");
  }
  return url;
}

}  // namespace

QuillonURL InstalledApplication::installer() const {
  return bundle.appendingPathComponent("Contents/MacOS")
      .appendingPathComponent(VeskAppBundleUpdateHelperIdentity::executableName);
}

QuillonURL InstalledApplication::launcherService(const QuillonFileManaging& fileManager) const {
  return bundle.appendingPathComponent("Contents/XPCServices")
      .appendingPathComponent(VeskAppBundleInstallerLauncherServiceInfo::currentHostServiceName(fileManager, bundle) +
                              ".xpc");
}

InstalledApplication InstalledApplication::read(const QuillonFileManaging& fileManager, const QuillonURL& bundle) {
  const QuillonURL resolved = resolveBundle(fileManager, bundle);
  const Information information(fileManager, resolved);
  InstalledApplication application{
      .bundle = resolved,
      .name = readName(information, resolved),
      .identifier = information.required("CFBundleIdentifier"),
      .version = information.required("CFBundleShortVersionString"),
      .build = decimalNumber<std::int64_t>(information.text("CFBundleVersion")).value_or(0),
      .feed = readFeed(information),
      .skus = {}};
  if (!isSinglePathComponent(application.identifier)) {
    throw UpdateFailure("incompleteBundle", "The CFBundleIdentifier \"" + application.identifier + "\" of " +
                                                resolved.path() + " is none: it names a folder.");
  }
  std::string distribution = information.text(distributionKey);
  if (!distribution.empty()) application.skus.insert(std::move(distribution));
  return application;
}

std::optional<std::string> signingTeam(const QuillonURL& bundle, QuillonProcessRunning& processRunner,
                                       const std::string& codeSigningToolPath) {
  const QuillonProcessResult result = processRunner.run(codeSigningToolPath, {"-dv", "--verbose=4", bundle.path()});
  if (result.status != 0) return std::nullopt;
  std::optional<std::string> team = teamIdentifierInOutput(result.output);
  return team && !team->empty() && *team != kNoTeam ? team : std::nullopt;
}

}  // namespace quillon
