#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "QuillonCore/Contracts/QuillonMonotonicTime.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleLaunchdUserContext.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementOwnershipMatching.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementPermissionChecking.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdAuthorizationProviding.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdJobSubmitting.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/VeskAppBundleUpdateHelperLaunching.h"

namespace quillon {

/// Starts the installer command as a job of the service manager, with administrator rights that it asks for only where
/// the installed bundle cannot be replaced without.
///
/// Knows nothing of times: the three phase functions say whether to go on. They may be called on whichever thread shows
/// the dialog. Progress is reported on the calling thread, and on the dialog's while that is open; a handler that
/// throws against its contract does not end the launch.
class VeskAppBundleLaunchdHelperLauncher final : public VeskAppBundleUpdateHelperLaunching {
 public:
  using ProcessIdentifierProvider = std::function<std::int32_t()>;
  using UserContextProvider = std::function<VeskAppBundleLaunchdUserContext()>;
  /// The text in the user's language that the application at `applicationURL` has for the English `key`, else `key`.
  using TextProvider = std::function<std::string(const QuillonURL& applicationURL, std::string_view key)>;

  /// Key and English text of the dialog, with a place for the application's name. For translators: administrator
  /// authorization prompt shown while installing an app update.
  static constexpr std::string_view kPromptFormat = "%@ needs permission to update the installed app.";

  VeskAppBundleLaunchdHelperLauncher(
      std::shared_ptr<const VeskAppBundleReplacementPermissionChecking> permissionChecker,
      std::shared_ptr<const VeskAppBundleReplacementOwnershipMatching> ownershipMatcher,
      std::shared_ptr<VeskAppBundleLaunchdAuthorizationProviding> authorizationProvider,
      std::shared_ptr<VeskAppBundleLaunchdJobSubmitting> jobSubmitter,
      ProcessIdentifierProvider processIdentifierProvider, UserContextProvider launchUserContextProvider,
      std::function<bool()> preAuthorizationShouldProceed, std::function<void()> beginPostAuthorizationPhase,
      std::function<bool()> postAuthorizationShouldProceed, QuillonMonotonicTimeProvider monotonicTimeProvider,
      TextProvider localizedText = &englishText);

  [[nodiscard]] VeskAppBundleReplacementLaunchResult launchReplacement(
      const VeskAppBundleReplacementRequest& request,
      const VeskAppBundleInstallerLaunchProgressHandler& progressHandler) noexcept override;

  /// The right that a host has of its own: its bundle identifier followed by ".quillon-update".
  [[nodiscard]] static std::string authorizationRightName(const VeskAppBundleReplacementRequest& request);
  /// Label of the installer's job: the host's bundle identifier followed by ".quillon-updater".
  [[nodiscard]] static std::string launchdLabel(const VeskAppBundleReplacementRequest& request);
  /// What the dialog says, in the user's language.
  [[nodiscard]] std::string authorizationPrompt(const VeskAppBundleReplacementRequest& request) const;
  /// `format`, a translation of kPromptFormat, with the name of the installed application.
  [[nodiscard]] static std::string authorizationPrompt(const VeskAppBundleReplacementRequest& request,
                                                       std::string_view format);

 private:
  class Launch;

  [[nodiscard]] static std::string englishText(const QuillonURL& applicationURL, std::string_view key);

  const std::shared_ptr<const VeskAppBundleReplacementPermissionChecking> permissionChecker_;
  const std::shared_ptr<const VeskAppBundleReplacementOwnershipMatching> ownershipMatcher_;
  const std::shared_ptr<VeskAppBundleLaunchdAuthorizationProviding> authorizationProvider_;
  const std::shared_ptr<VeskAppBundleLaunchdJobSubmitting> jobSubmitter_;
  const ProcessIdentifierProvider processIdentifierProvider_;
  const UserContextProvider launchUserContextProvider_;
  const std::function<bool()> preAuthorizationShouldProceed_;
  const std::function<void()> beginPostAuthorizationPhase_;
  const std::function<bool()> postAuthorizationShouldProceed_;
  const QuillonMonotonicTimeProvider monotonicTimeProvider_;
  const TextProvider localizedText_;
};

}  // namespace quillon
