#include "QuillonUpdateInstallerLauncherService/LauncherServiceConnection.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <memory>
#include <string>
#include <utility>

#include "QuillonCore/Runtime/Linux/QuillonToolLocation.h"
#include "QuillonCore/Runtime/QuillonSystemMonotonicTime.h"
#include "QuillonCore/Runtime/QuillonSystemServices.h"
#include "QuillonUpdatesAppKitUI/AppBundleInstaller/VeskAppBundleContainingApplication.h"
#include "QuillonUpdatesAppKitUI/AppBundleInstaller/VeskAppBundleInstallerLauncherService.h"
#include "QuillonUpdatesAppKitUI/AppBundleInstaller/VeskAppBundleInstallerLauncherServiceHostIdentityResolver.h"
#include "QuillonUpdatesAppKitUI/AppBundleInstaller/VeskAppBundleInstallerLauncherServiceLaunchResolver.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleLaunchdSystemServices.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Linux/VeskAppBundleInstallerLauncherServiceListener.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCLaunchProgress.h"

namespace quillon {
namespace {

using Listener = VeskAppBundleInstallerLauncherServiceListener;
using LaunchResolver = VeskAppBundleInstallerLauncherServiceLaunchResolver;
using Service = VeskAppBundleInstallerLauncherService;

/// For the only program that a request is resolved with, on the thread that reads the connection. Below the time that a
/// launch has before the dialog, so that what the host hears is what went wrong.
constexpr std::chrono::seconds kCodeSigningToolTimeLimit(8);
static_assert(kCodeSigningToolTimeLimit <
              std::chrono::nanoseconds(Service::kDefaultPreAuthorizationTimeoutNanoseconds));

void isolateProcess() noexcept {
  constexpr int kConnection = kInstallerLauncherServiceDescriptor;
  static_assert(kConnection == STDERR_FILENO + 1, "what is closed begins right behind it");
  close_range(kConnection + 1, ~0U, 0);
  fcntl(kConnection, F_SETFD, FD_CLOEXEC);
  // The host's connection factory starts the service in a session of its own, where no terminal sends these. For any
  // other starter it is alike: the end of the connection ends the service, and not before the launches under way.
  for (const int signal : {SIGINT, SIGHUP, SIGQUIT}) std::signal(signal, SIG_IGN);
  rlimit cores{};
  if (getrlimit(RLIMIT_CORE, &cores) != 0) return;
  cores.rlim_cur = 0;
  setrlimit(RLIMIT_CORE, &cores);
}

/// The signing tool beside the installer that the application contains, else where every program finds it.
std::string codeSigningToolPath() {
  QuillonToolLocation location = QuillonToolLocation::current();
  if (const auto application = defaultContainingApplicationURL()) {
    location.programFolder =
        application->appendingPathComponent(LaunchResolver::kHelperPath).deletingLastPathComponent().path();
  }
  return location.path("quillon-codesign");
}

std::shared_ptr<LaunchResolver> makeLaunchResolver(std::int32_t hostProcessIdentifier) {
  const auto fileManager = makeSystemFileManager();
  return std::make_shared<LaunchResolver>(
      defaultContainingApplicationURL,
      std::make_shared<VeskAppBundleInstallerLauncherServiceHostIdentityResolver>(
          fileManager, makeSystemProcessRunner(kCodeSigningToolTimeLimit), codeSigningToolPath()),
      // The listener takes no peer of another user, so this process's user is the host's.
      VeskAppBundleLaunchdUserContext::currentProcess, [hostProcessIdentifier] { return hostProcessIdentifier; },
      fileManager);
}

}  // namespace

bool hasInheritedConnection() noexcept {
  struct stat status {};
  return fstat(kInstallerLauncherServiceDescriptor, &status) == 0 && S_ISSOCK(status.st_mode);
}

void serveInheritedConnection() {
  isolateProcess();
  Listener listener{FileDescriptor(kInstallerLauncherServiceDescriptor)};
  Service service(
      makeLaunchResolver(listener.hostProcessIdentifier()), Service::kDefaultPreAuthorizationTimeoutNanoseconds,
      Service::kDefaultPostAuthorizationTimeoutNanoseconds, makeSystemMonotonicTimeProvider(),
      [progressSender = listener.progressSender()](const VeskAppBundleInstallerLaunchProgress& progress) {
        progressSender->reportProgress(xpcDictionary(progress));
      },
      [securityClient = makeSystemSecurityAuthorizationClient()](std::int32_t host, const auto& budget) {
        return makeSystemLaunchdHelperLauncher(securityClient, host, VeskAppBundleLaunchdUserContext::currentProcess,
                                               budget);
      });
  listener.run(service);
}

}  // namespace quillon
