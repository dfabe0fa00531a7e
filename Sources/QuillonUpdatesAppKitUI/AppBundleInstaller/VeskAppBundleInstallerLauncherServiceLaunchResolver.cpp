#include "QuillonUpdatesAppKitUI/AppBundleInstaller/VeskAppBundleInstallerLauncherServiceLaunchResolver.h"

#include <string>
#include <utility>

#include "QuillonUpdatesAppKitUI/AppBundleInstaller/VeskAppBundleFailureReportPlace.h"
#include "QuillonUpdatesAppKitUI/AppBundleInstaller/VeskAppBundleInstallerLauncherServiceRefusal.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleCodeSignatureOutput.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleUpdateFailureReportStore.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCMessageRefusal.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCReplacementMessage.h"

namespace quillon {
namespace {

using Launch = VeskAppBundleXPCReplacementLaunch;
using Message = QuillonPropertyListValue::Dictionary;
using Refusal = VeskAppBundleInstallerLauncherServiceRefusal;
using User = VeskAppBundleLaunchdUserContext;

VeskAppBundleReplacementRequest readRequest(const Message& message) {
  try {
    VeskAppBundleReplacementRequest request = VeskAppBundleXPCReplacementMessage::read(message);
    if (!request.hostIdentity) throw Refusal("The request does not say who the host is.");
    return request;
  } catch (const VeskAppBundleXPCMessageRefusal& error) {
    throw Refusal("The request cannot be read.", error.description());
  }
}

bool isSameUser(const User& a, const User& b) {
  return a.userIdentifier == b.userIdentifier && a.groupIdentifier == b.groupIdentifier && a.userName == b.userName;
}

std::string describe(const User& user) {
  return std::to_string(user.userIdentifier) + ":" + std::to_string(user.groupIdentifier) + ":" +
         printableOutput(user.userName);
}

}  // namespace

VeskAppBundleInstallerLauncherServiceLaunchResolver::VeskAppBundleInstallerLauncherServiceLaunchResolver(
    std::function<std::optional<QuillonURL>()> containingApplicationURLProvider,
    std::shared_ptr<const VeskAppBundleInstallerLauncherServiceHostIdentityResolving> hostIdentityResolver,
    std::function<User()> launchUserContextProvider, std::function<std::int32_t()> hostProcessIdentifierProvider,
    std::shared_ptr<const QuillonFileManaging> fileManager, QuillonDiagnosticLog diagnosticLog)
    : containingApplicationURLProvider_(std::move(containingApplicationURLProvider)),
      hostIdentityResolver_(std::move(hostIdentityResolver)),
      launchUserContextProvider_(std::move(launchUserContextProvider)),
      hostProcessIdentifierProvider_(std::move(hostProcessIdentifierProvider)),
      fileManager_(std::move(fileManager)),
      diagnosticLog_(std::move(diagnosticLog)) {}

Launch VeskAppBundleInstallerLauncherServiceLaunchResolver::makeLaunch(const Message& message) const {
  try {
    return resolve(message);
  } catch (const Refusal& refusal) {
    std::string line = "VeskAppBundleInstallerLauncherServiceLaunchResolver: " + refusal.reason();
    if (!refusal.detail().empty()) line += " " + refusal.detail();
    diagnosticLog_(line);
    throw;
  }
}

Launch VeskAppBundleInstallerLauncherServiceLaunchResolver::resolve(const Message& message) const {
  VeskAppBundleReplacementRequest request = readRequest(message);
  request.installedApplicationURL = resolveContainingApplication(request.installedApplicationURL);
  request.stagedApplicationURL = resolveLinks(request.stagedApplicationURL, "staged");
  request.failureReportURL = resolveFailureReport(request.failureReportURL, request.hostIdentity->bundleIdentifier);
  request.helperExecutableURL = locateHelper(request.installedApplicationURL);
  request.hostIdentity =
      hostIdentityResolver_->makeHostIdentity(request.installedApplicationURL, *request.hostIdentity);
  request.launchUserContext = ownUser(request.launchUserContext);
  return {.request = std::move(request), .hostProcessIdentifier = hostProcessIdentifierProvider_()};
}

QuillonURL VeskAppBundleInstallerLauncherServiceLaunchResolver::resolveContainingApplication(
    const QuillonURL& requestedApplication) const {
  const std::optional<QuillonURL> containing = containingApplicationURLProvider_();
  if (!containing) throw Refusal("The service is not inside an application.");
  QuillonURL own = resolveLinks(*containing, "containing");
  const QuillonURL requested = resolveLinks(requestedApplication, "installed");
  if (requested == own) return own;
  throw Refusal("The request names another application than the one that contains the service.",
                "requested=" + requested.path() + " own=" + own.path());
}

QuillonURL VeskAppBundleInstallerLauncherServiceLaunchResolver::resolveLinks(const QuillonURL& item,
                                                                             std::string_view what) const {
  try {
    return fileManager_->resolvingSymbolicLinks(item);
  } catch (const QuillonSystemError& error) {
    throw Refusal("The " + std::string(what) + " application cannot be found.", error.description());
  }
}

std::optional<QuillonURL> VeskAppBundleInstallerLauncherServiceLaunchResolver::resolveFailureReport(
    const std::optional<QuillonURL>& requested, std::string_view bundleIdentifier) const {
  if (!requested) {
    // Where a host without a sandbox looks: this process has its user and environment, a privileged installer has not.
    // One in a sandbox has a folder of its own, and names it.
    return VeskAppBundleUpdateFailureReportStore(fileManager_).reportURL(bundleIdentifier);
  }
  std::optional<QuillonURL> place = failureReportPlace(*fileManager_, *requested);
  if (!place) throw Refusal("The user may not write to the folder of the failure report.", requested->path());
  return place;
}

QuillonURL VeskAppBundleInstallerLauncherServiceLaunchResolver::locateHelper(const QuillonURL& application) const {
  using Error = VeskUpdateInstallerError;
  QuillonURL helper = application.appendingPathComponent(kHelperPath);
  try {
    // A link on the way may lead out of the application, and of what its signature covers.
    if (fileManager_->resolvingSymbolicLinks(helper) == helper && fileManager_->isExecutableFile(helper)) return helper;
  } catch (const QuillonSystemError&) {  // NOLINT(bugprone-empty-catch): what cannot be found is not there
  }
  throw Error(Error::Code::replacementHelperUnavailable);
}

User VeskAppBundleInstallerLauncherServiceLaunchResolver::ownUser(const std::optional<User>& requested) const {
  User own = launchUserContextProvider_();
  if (!requested || isSameUser(*requested, own)) return own;
  throw Refusal("The request is for another user than the one who sent it.",
                "requested=" + describe(*requested) + " own=" + describe(own));
}

}  // namespace quillon
