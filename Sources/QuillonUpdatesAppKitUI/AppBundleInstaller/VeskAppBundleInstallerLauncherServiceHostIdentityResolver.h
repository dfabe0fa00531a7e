#pragma once

#include <memory>
#include <string>
#include <vector>

#include "QuillonCore/Contracts/QuillonFileManaging.h"
#include "QuillonCore/Contracts/QuillonProcessRunning.h"
#include "QuillonUpdatesAppKitUI/AppBundleInstaller/VeskAppBundleInstallerLauncherServiceHostIdentityResolving.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleCodeSigningTool.h"

namespace quillon {

/// Takes the identity from the application itself: identifier, version and build from its Info.plist, the team from its
/// signature. Only whether the same build may be installed again is the request's to say.
///
/// A request that contradicts the application in any of these is refused. One without a team gets the application's.
/// An application without a team is refused: the installer checks no team where none is expected, and would then take
/// any valid signature, which anybody can make.
class VeskAppBundleInstallerLauncherServiceHostIdentityResolver final
    : public VeskAppBundleInstallerLauncherServiceHostIdentityResolving {
 public:
  VeskAppBundleInstallerLauncherServiceHostIdentityResolver(
      std::shared_ptr<const QuillonFileManaging> fileManager, std::shared_ptr<QuillonProcessRunning> processRunner,
      std::string codeSigningToolPath = systemCodeSigningToolPath());

  [[nodiscard]] VeskAppBundleUpdateHostIdentity makeHostIdentity(
      const QuillonURL& containingApplicationURL,
      const VeskAppBundleUpdateHostIdentity& requestedIdentity) const override;

  /// The platform's code-signing tool with these arguments: its status and its joined output.
  [[nodiscard]] QuillonProcessResult runCodesign(const std::vector<std::string>& arguments) const noexcept;

  /// The team that signed the bundle. Throws VeskAppBundleInstallerLauncherServiceRefusal when it has none or the
  /// signature cannot be read.
  [[nodiscard]] std::string readTeamIdentifier(const QuillonURL& appBundleURL) const;

 private:
  std::shared_ptr<const QuillonFileManaging> fileManager_;
  std::shared_ptr<QuillonProcessRunning> processRunner_;
  std::string codeSigningToolPath_;
};

}  // namespace quillon
