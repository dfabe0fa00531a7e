#include "QuillonUpdatesAppKitUI/AppBundleInstaller/VeskAppBundleInstallerLauncherServiceHostIdentityResolver.h"

#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

#include "QuillonCore/Runtime/QuillonBundleInformation.h"
#include "QuillonCore/Text/DecimalNumber.h"
#include "QuillonUpdatesAppKitUI/AppBundleInstaller/VeskAppBundleInstallerLauncherServiceRefusal.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleCodeSignatureOutput.h"

namespace quillon {
namespace {

using Identity = VeskAppBundleUpdateHostIdentity;
using Refusal = VeskAppBundleInstallerLauncherServiceRefusal;

/// What the tool prints for a signature without team.
constexpr std::string_view kNoTeam = "not set";

/// Refuses a request that says something else of the application than the application itself.
void requireSame(std::string_view what, std::string_view requested, std::string_view own) {
  if (requested == own) return;
  throw Refusal("The request's " + std::string(what) + " is not that of the application that contains the service.",
                "requested=" + printableOutput(requested) + " own=" + printableOutput(own));
}

/// Version and build as the validator of candidates reads them, so that both sides of a comparison mean the same.
Identity identityInInformation(const QuillonFileManaging& fileManager, const QuillonURL& application) {
  const auto text = [&](std::string_view key) {
    return bundleInformationText(fileManager, application, key).value_or("");
  };
  Identity identity;
  identity.bundleIdentifier = text("CFBundleIdentifier");
  identity.applicationVersion = text("CFBundleShortVersionString");
  identity.applicationBuild = decimalNumber<std::int64_t>(text("CFBundleVersion")).value_or(0);
  return identity;
}

}  // namespace

VeskAppBundleInstallerLauncherServiceHostIdentityResolver::VeskAppBundleInstallerLauncherServiceHostIdentityResolver(
    std::shared_ptr<const QuillonFileManaging> fileManager, std::shared_ptr<QuillonProcessRunning> processRunner,
    std::string codeSigningToolPath)
    : fileManager_(std::move(fileManager)),
      processRunner_(std::move(processRunner)),
      codeSigningToolPath_(std::move(codeSigningToolPath)) {}

Identity VeskAppBundleInstallerLauncherServiceHostIdentityResolver::makeHostIdentity(
    const QuillonURL& containingApplicationURL, const Identity& requestedIdentity) const {
  Identity own = identityInInformation(*fileManager_, containingApplicationURL);
  if (own.bundleIdentifier.empty()) {
    throw Refusal("The application that contains the service has no bundle identifier.");
  }
  requireSame("bundle identifier", requestedIdentity.bundleIdentifier, own.bundleIdentifier);
  requireSame("version", requestedIdentity.applicationVersion, own.applicationVersion);
  requireSame("build", std::to_string(requestedIdentity.applicationBuild), std::to_string(own.applicationBuild));
  own.expectedTeamIdentifier = readTeamIdentifier(containingApplicationURL);
  if (requestedIdentity.expectedTeamIdentifier) {
    requireSame("team", *requestedIdentity.expectedTeamIdentifier, *own.expectedTeamIdentifier);
  }
  own.allowsSameBuildReplacement = requestedIdentity.allowsSameBuildReplacement;
  return own;
}

QuillonProcessResult VeskAppBundleInstallerLauncherServiceHostIdentityResolver::runCodesign(
    const std::vector<std::string>& arguments) const noexcept {
  return processRunner_->run(codeSigningToolPath_, arguments);
}

std::string VeskAppBundleInstallerLauncherServiceHostIdentityResolver::readTeamIdentifier(
    const QuillonURL& appBundleURL) const {
  const QuillonProcessResult result = runCodesign({"-dv", "--verbose=4", appBundleURL.path()});
  const std::string detail = "status=" + std::to_string(result.status) + " output=" + printableOutput(result.output);
  if (result.status != 0) {
    throw Refusal("The signature of the application that contains the service cannot be read.", detail);
  }
  std::optional<std::string> team = teamIdentifierInOutput(result.output);
  if (!team || team->empty() || *team == kNoTeam) {
    throw Refusal("The application that contains the service is not signed by a team.", detail);
  }
  return *std::move(team);
}

}  // namespace quillon
