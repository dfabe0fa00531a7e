#include "QuillonUpdateInstallerLauncherService/LauncherServiceConnection.h"

#include <sys/resource.h>
#include <xpc/xpc.h>

#include <chrono>
#include <memory>
#include <utility>

#include "QuillonCore/Runtime/QuillonSystemMonotonicTime.h"
#include "QuillonCore/Runtime/QuillonSystemServices.h"
#include "QuillonUpdatesAppKitUI/AppBundleInstaller/Apple/VeskAppBundleInstallerLauncherServiceListener.h"
#include "QuillonUpdatesAppKitUI/AppBundleInstaller/VeskAppBundleContainingApplication.h"
#include "QuillonUpdatesAppKitUI/AppBundleInstaller/VeskAppBundleInstallerLauncherService.h"
#include "QuillonUpdatesAppKitUI/AppBundleInstaller/VeskAppBundleInstallerLauncherServiceHostIdentityResolver.h"
#include "QuillonUpdatesAppKitUI/AppBundleInstaller/VeskAppBundleInstallerLauncherServiceLaunchResolver.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdSystemServices.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Apple/VeskAppBundleSystemStatusMessage.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCLaunchProgress.h"

namespace quillon {
namespace {

using LaunchResolver = VeskAppBundleInstallerLauncherServiceLaunchResolver;
using Service = VeskAppBundleInstallerLauncherService;

/// For the only program that a request is resolved with. Below the time that a launch has before the dialog, so that
/// what the host hears is what went wrong.
constexpr std::chrono::seconds kCodeSigningToolTimeLimit(8);
static_assert(kCodeSigningToolTimeLimit <
              std::chrono::nanoseconds(Service::kDefaultPreAuthorizationTimeoutNanoseconds));

/// A launcher that keeps the system from ending this process while it lives: a connection does so too, but only as long
/// as there is a host.
class LauncherInTransaction final : public VeskAppBundleUpdateHelperLaunching {
 public:
  explicit LauncherInTransaction(std::shared_ptr<VeskAppBundleUpdateHelperLaunching> launcher)
      : launcher_(std::move(launcher)) {
    xpc_transaction_begin();
  }
  ~LauncherInTransaction() override { xpc_transaction_end(); }
  LauncherInTransaction(const LauncherInTransaction&) = delete;
  LauncherInTransaction& operator=(const LauncherInTransaction&) = delete;

  VeskAppBundleReplacementLaunchResult launchReplacement(
      const VeskAppBundleReplacementRequest& request,
      const VeskAppBundleInstallerLaunchProgressHandler& progressHandler) noexcept override {
    return launcher_->launchReplacement(request, progressHandler);
  }

 private:
  const std::shared_ptr<VeskAppBundleUpdateHelperLaunching> launcher_;
};

void leaveNoCoreFiles() noexcept {
  rlimit cores{};
  if (getrlimit(RLIMIT_CORE, &cores) != 0) return;
  cores.rlim_cur = 0;
  setrlimit(RLIMIT_CORE, &cores);
}

std::shared_ptr<LaunchResolver> makeLaunchResolver(std::int32_t hostProcessIdentifier) {
  const auto fileManager = makeSystemFileManager();
  return std::make_shared<LaunchResolver>(
      defaultContainingApplicationURL,
      std::make_shared<VeskAppBundleInstallerLauncherServiceHostIdentityResolver>(
          fileManager, makeSystemProcessRunner(kCodeSigningToolTimeLimit)),
      // The listener takes no host of another user, so this process's user is the host's.
      VeskAppBundleLaunchdUserContext::currentProcess, [hostProcessIdentifier] { return hostProcessIdentifier; },
      fileManager);
}

}  // namespace

bool hasInheritedConnection() noexcept {
  return processIsXPCService();
}

void serveInheritedConnection() {
  leaveNoCoreFiles();
  const auto securityClient = makeSystemSecurityAuthorizationClient();
  serveXPCConnections([securityClient](std::int32_t hostProcessIdentifier, const auto& progressSender) {
    return std::make_shared<Service>(
        makeLaunchResolver(hostProcessIdentifier), Service::kDefaultPreAuthorizationTimeoutNanoseconds,
        Service::kDefaultPostAuthorizationTimeoutNanoseconds, makeSystemMonotonicTimeProvider(),
        [progressSender](const VeskAppBundleInstallerLaunchProgress& progress) {
          progressSender->reportProgress(xpcDictionary(progress));
        },
        [securityClient](std::int32_t host, const auto& budget) {
          return std::make_shared<LauncherInTransaction>(makeSystemLaunchdHelperLauncher(
              securityClient, host, VeskAppBundleLaunchdUserContext::currentProcess, budget));
        },
        systemStatusMessage);
  });
}

}  // namespace quillon
