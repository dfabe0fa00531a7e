// A host application that has itself replaced, for tests: UpdateHost BUNDLE STAGED [TIMES]
//
// Asks the launcher service in BUNDLE to replace BUNDLE by STAGED, as an application does after a download, and ends:
// the installer waits for that. Prints a JSON object a line: each progress event as {"event": …} with its payload, then
// {"result": …} with the status, phase or diagnostic, then {"descriptors": N}, how many file descriptors more are open
// than before the first launch. Ends with status 0 when the last launch succeeded.
//
// With TIMES it does not allow to ask for administrator rights, and launches that often, whatever the results are.

#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iostream>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <variant>

#include "QuillonCore/Runtime/QuillonBundleInformation.h"
#include "QuillonCore/Runtime/QuillonSystemServices.h"
#include "QuillonCore/Runtime/QuillonTimerThread.h"
#include "QuillonTool/QuillonToolJSONObject.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Linux/VeskAppBundleBusInstallerLauncherServiceConnectionFactory.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherServiceInfo.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCUpdateHelperLauncher.h"

namespace {

using quillon::QuillonToolJSONObject;
using quillon::QuillonURL;
using Progress = quillon::VeskAppBundleInstallerLaunchProgress;
using Result = quillon::VeskAppBundleReplacementLaunchResult;

constexpr std::uint64_t kTimeoutNanoseconds = 30'000'000'000;
constexpr int kUsageStatus = 64;

void print(const QuillonToolJSONObject& object) {
  std::cout << object.text() << std::endl;
}

/// Adds to an object what a case of an event or a result carries.
struct Payload {
  QuillonToolJSONObject& object;

  void operator()(const Progress::AuthorizationRequired& reason) const {
    object.withBool("destinationParentIsWritable", reason.destinationParentIsWritable)
        .withBool("canPreserveInstalledOwnership", reason.canPreserveInstalledOwnership);
  }
  void operator()(const Progress::AuthorizationEnded& end) const {
    object.withBool("tookTime", end.elapsedNanoseconds > 0);
  }
  void operator()(const Progress::HandoffStarted& /*unused*/) const {}
  void operator()(const Progress::AuthorizationBegan& /*unused*/) const {}
  void operator()(const Progress::JobSubmitted& /*unused*/) const {}

  void operator()(const Result::LaunchFailed& failure) const {
    object.with("diagnostic", failure.diagnostic.description());
  }
  void operator()(const Result::ProtocolFailure& failure) const {
    object.with("diagnostic", failure.diagnostic.description());
  }
  void operator()(const Result::AuthorizationDenied& denial) const { object.withNumber("status", denial.status); }
  void operator()(const Result::AuthorizationCancelled& cancelling) const {
    object.withNumber("status", cancelling.status);
  }
  void operator()(const Result::TimedOut& timeout) const { object.with("phase", quillon::rawValue(timeout.phase)); }
  void operator()(const Result::Launched& /*unused*/) const {}
  void operator()(const Result::HelperUnavailable& /*unused*/) const {}
};

template <typename Case>
void print(std::string_view key, const Case& event) {
  QuillonToolJSONObject object;
  object.with(key, event.caseName());
  std::visit(Payload{object}, event.value);
  print(object);
}

quillon::VeskAppBundleReplacementRequest makeRequest(const QuillonURL& bundle, const QuillonURL& staged, bool mayAsk) {
  const auto files = quillon::makeSystemFileManager();
  const auto text = [&](std::string_view key) {
    return quillon::bundleInformationText(*files, bundle, key).value_or("");
  };
  return {
      .stagedApplicationURL = staged,
      .installedApplicationURL = bundle,
      .helperExecutableURL = std::nullopt,
      .hostIdentity = quillon::VeskAppBundleUpdateHostIdentity{.bundleIdentifier = text("CFBundleIdentifier"),
                                                               .applicationVersion = text("CFBundleShortVersionString"),
                                                               .applicationBuild = std::stoll(text("CFBundleVersion")),
                                                               .expectedTeamIdentifier = std::nullopt,
                                                               .allowsSameBuildReplacement = false},
      .shouldRequestAuthorizationIfNeeded = mayAsk,
      .launchUserContext = std::nullopt,
      .failureReportURL = std::nullopt,
      .failureReportAttemptIdentifier = std::nullopt};
}

Result launch(const QuillonURL& bundle, const QuillonURL& staged, bool mayAsk) {
  quillon::VeskAppBundleXPCUpdateHelperLauncher launcher(
      std::make_shared<quillon::VeskAppBundleBusInstallerLauncherServiceConnectionFactory>(bundle),
      quillon::VeskAppBundleInstallerLauncherServiceInfo::currentHostServiceName(*quillon::makeSystemFileManager(),
                                                                                 bundle),
      kTimeoutNanoseconds, kTimeoutNanoseconds, std::make_shared<quillon::QuillonTimerThread>());
  return launcher.launchReplacement(makeRequest(bundle, staged, mayAsk),
                                    [](const Progress& progress) { print("event", progress); });
}

std::ptrdiff_t openDescriptors() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3 || argc > 4) {
    std::cerr << "Usage: UpdateHost BUNDLE STAGED [TIMES]\n";
    return kUsageStatus;
  }
  try {
    const std::ptrdiff_t before = openDescriptors();
    const bool mayAsk = argc == 3;
    Result result = Result::helperUnavailable();
    for (int left = mayAsk ? 1 : std::stoi(argv[3]); left > 0; --left) {
      result = launch(QuillonURL::fileURL(argv[1]), QuillonURL::fileURL(argv[2]), mayAsk);
      print("result", result);
    }
    print(QuillonToolJSONObject().withNumber("descriptors", openDescriptors() - before));
    return result == Result::launched() ? EXIT_SUCCESS : EXIT_FAILURE;
  } catch (const std::exception& failure) {
    std::cerr << "UpdateHost: " << failure.what() << "\n";
    return EXIT_FAILURE;
  }
}
