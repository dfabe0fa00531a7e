// Has an application replaced by way of its launcher service, as the application itself does: LauncherServiceClient
// BUNDLE STAGED. Ends with status 0 when the installer waits for it to end. docs/embedding.md quotes this file.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <variant>

#include "QuillonCore/Runtime/QuillonBundleInformation.h"
#include "QuillonCore/Runtime/QuillonSystemServices.h"
#include "QuillonCore/Runtime/QuillonTimerThread.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherServiceInfo.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCSystemServices.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCUpdateHelperLauncher.h"

using namespace quillon;

namespace {

using Progress = VeskAppBundleInstallerLaunchProgress;
using Result = VeskAppBundleReplacementLaunchResult;

/// What the service compares with the bundle: it refuses a request that says anything else of the host.
VeskAppBundleReplacementRequest makeRequest(const QuillonFileManaging& files, const QuillonURL& bundle,
                                            const QuillonURL& staged) {
  const auto text = [&](std::string_view key) { return bundleInformationText(files, bundle, key).value_or(""); };
  VeskAppBundleReplacementRequest request{.stagedApplicationURL = staged,
                                          .installedApplicationURL = bundle,
                                          .helperExecutableURL = {},
                                          .hostIdentity = {},
                                          .shouldRequestAuthorizationIfNeeded = true,
                                          .launchUserContext = {},
                                          .failureReportURL = {},
                                          .failureReportAttemptIdentifier = {}};
  request.hostIdentity =
      VeskAppBundleUpdateHostIdentity{.bundleIdentifier = text("CFBundleIdentifier"),
                                      .applicationVersion = text("CFBundleShortVersionString"),
                                      .applicationBuild = std::strtoll(text("CFBundleVersion").c_str(), nullptr, 10),
                                      .expectedTeamIdentifier = {}};  // the service knows the team of the bundle
  return request;
}

/// Returns when the launch has an outcome, which an open dialog can put off for long: not for the main thread.
Result askLauncherService(const QuillonURL& bundle, const QuillonURL& staged) {
  constexpr std::uint64_t kBeforeTheDialog = 15'000'000'000;  // nanoseconds; longer than the service takes at most
  constexpr std::uint64_t kAfterTheDialog = 40'000'000'000;
  const auto files = makeSystemFileManager();
  VeskAppBundleXPCUpdateHelperLauncher launcher(
      makeSystemInstallerLauncherServiceConnectionFactory(bundle),
      VeskAppBundleInstallerLauncherServiceInfo::currentHostServiceName(*files, bundle), kBeforeTheDialog,
      kAfterTheDialog, std::make_shared<QuillonTimerThread>());
  return launcher.launchReplacement(makeRequest(*files, bundle, staged), [](const Progress& progress) {
    std::puts(std::string(progress.caseName()).c_str());  // on a thread of the connection
  });
}

/// What the host does about each result; a new one does not compile until it is thought of.
struct Advice {
  const char* operator()(const Result::Launched& /*result*/) const { return "quit"; }
  const char* operator()(const Result::AuthorizationCancelled& /*result*/) const { return "offer it again later"; }
  const char* operator()(const Result::AuthorizationDenied& /*result*/) const { return "an administrator is needed"; }
  const char* operator()(const Result::HelperUnavailable& /*result*/) const { return "this copy is incomplete"; }
  const char* operator()(const Result::LaunchFailed& /*result*/) const { return "see the system log"; }
  const char* operator()(const Result::ProtocolFailure& /*result*/) const { return "it may have been launched"; }
  const char* operator()(const Result::TimedOut& /*result*/) const { return "it may have been launched"; }
};

}  // namespace

int main(int argumentCount, char** arguments) {
  if (argumentCount != 3) {
    std::fputs("Usage: LauncherServiceClient BUNDLE STAGED\n", stderr);
    return 2;
  }
  const Result result = askLauncherService(QuillonURL::fileURL(arguments[1]), QuillonURL::fileURL(arguments[2]));
  std::printf("%s: %s\n", std::string(result.caseName()).c_str(), std::visit(Advice(), result.value));
  return result == Result::launched() ? 0 : 1;
}
