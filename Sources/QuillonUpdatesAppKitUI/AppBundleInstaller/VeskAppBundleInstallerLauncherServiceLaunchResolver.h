#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>

#include "QuillonCore/Contracts/QuillonFileManaging.h"
#include "QuillonCore/Runtime/QuillonSystemLog.h"
#include "QuillonUpdatesAppKitUI/AppBundleInstaller/VeskAppBundleInstallerLauncherServiceHostIdentityResolving.h"
#include "QuillonUpdatesAppKitUI/AppBundleInstaller/VeskAppBundleInstallerLauncherServiceLaunchResolving.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleLaunchdUserContext.h"

namespace quillon {

/// Lets a host replace the application that contains the service, and nothing else, as itself, and as nobody else.
///
/// Symbolic links are resolved once: the paths that were checked are those of the launch. An installer behind a link
/// inside the application counts as none. The application is started as the peer, with the peer's own home, and a
/// failure report goes to a place where the peer may write. Each refusal goes once to the diagnostic log.
class VeskAppBundleInstallerLauncherServiceLaunchResolver final
    : public VeskAppBundleInstallerLauncherServiceLaunchResolving {
 public:
  /// The installer inside the application.
  static constexpr std::string_view kHelperPath = "Contents/MacOS/QuillonUpdateInstaller";

  /// `containingApplicationURLProvider` is normally defaultContainingApplicationURL; without an application every
  /// request is refused. `launchUserContextProvider` and `hostProcessIdentifierProvider` tell of the peer of the
  /// connection.
  VeskAppBundleInstallerLauncherServiceLaunchResolver(
      std::function<std::optional<QuillonURL>()> containingApplicationURLProvider,
      std::shared_ptr<const VeskAppBundleInstallerLauncherServiceHostIdentityResolving> hostIdentityResolver,
      std::function<VeskAppBundleLaunchdUserContext()> launchUserContextProvider,
      std::function<std::int32_t()> hostProcessIdentifierProvider,
      std::shared_ptr<const QuillonFileManaging> fileManager, QuillonDiagnosticLog diagnosticLog = writeToSystemLog);

  [[nodiscard]] VeskAppBundleXPCReplacementLaunch makeLaunch(
      const QuillonPropertyListValue::Dictionary& message) const override;

 private:
  [[nodiscard]] VeskAppBundleXPCReplacementLaunch resolve(const QuillonPropertyListValue::Dictionary& message) const;
  [[nodiscard]] QuillonURL resolveContainingApplication(const QuillonURL& requestedApplication) const;
  [[nodiscard]] QuillonURL resolveLinks(const QuillonURL& item, std::string_view what) const;
  [[nodiscard]] std::optional<QuillonURL> resolveFailureReport(const std::optional<QuillonURL>& requested,
                                                               std::string_view bundleIdentifier) const;
  [[nodiscard]] QuillonURL locateHelper(const QuillonURL& application) const;
  /// The peer, unless `requested` is somebody else.
  [[nodiscard]] VeskAppBundleLaunchdUserContext ownUser(
      const std::optional<VeskAppBundleLaunchdUserContext>& requested) const;

  std::function<std::optional<QuillonURL>()> containingApplicationURLProvider_;
  std::shared_ptr<const VeskAppBundleInstallerLauncherServiceHostIdentityResolving> hostIdentityResolver_;
  std::function<VeskAppBundleLaunchdUserContext()> launchUserContextProvider_;
  std::function<std::int32_t()> hostProcessIdentifierProvider_;
  std::shared_ptr<const QuillonFileManaging> fileManager_;
  QuillonDiagnosticLog diagnosticLog_;
};

}  // namespace quillon
