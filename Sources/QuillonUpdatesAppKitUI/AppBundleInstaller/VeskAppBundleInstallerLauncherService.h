#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "QuillonCore/Contracts/QuillonMonotonicTime.h"
#include "QuillonUpdatesAppKitUI/AppBundleInstaller/VeskAppBundleInstallerLaunchTasks.h"
#include "QuillonUpdatesAppKitUI/AppBundleInstaller/VeskAppBundleInstallerLauncherServiceLaunchResolving.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/VeskAppBundleInstallerLaunchPhaseBudget.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/VeskAppBundleUpdateHelperLaunching.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherXPCProtocol.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCReplacementResult.h"

namespace quillon {

/// Starts the installer for the host at the other end of a connection.
///
/// Each request has its own budget of time and its own thread, and is answered exactly once, whatever fails. The
/// progress of one request goes out before its reply. The destructor waits for the launches under way, so the service
/// must not be destroyed by one of the functions that it was given.
class VeskAppBundleInstallerLauncherService final : public VeskAppBundleInstallerLauncherXPCProtocol {
 public:
  /// The launcher for a host and the time that its launch may take.
  using LauncherFactory = std::function<std::shared_ptr<VeskAppBundleUpdateHelperLaunching>(
      std::int32_t hostProcessIdentifier, std::shared_ptr<VeskAppBundleInstallerLaunchPhaseBudget> budget)>;

  /// Before the dialog there are some looks at the disk and one run of the signing tool: well below a second, ten on a
  /// machine that hardly moves.
  static constexpr std::uint64_t kDefaultPreAuthorizationTimeoutNanoseconds = 10'000'000'000;
  /// After it the service manager is asked to remove an older job, and this is looked at before the job is started.
  /// What it is asked ends by itself after 20 s at most, with an error that says more than a timeout of ours, such as
  /// that an older installer does not end; so this is longer.
  static constexpr std::uint64_t kDefaultPostAuthorizationTimeoutNanoseconds = 30'000'000'000;

  /// Timeouts in nanoseconds, of which 0 lets no launch proceed. `progressHandler` is called on the thread of the call
  /// for the first event and on the launch's for the others. `messageOfStatus` may be empty.
  VeskAppBundleInstallerLauncherService(
      std::shared_ptr<const VeskAppBundleInstallerLauncherServiceLaunchResolving> launchResolver,
      std::uint64_t preAuthorizationTimeoutNanoseconds, std::uint64_t postAuthorizationTimeoutNanoseconds,
      QuillonMonotonicTimeProvider monotonicTimeProvider, VeskAppBundleInstallerLaunchProgressHandler progressHandler,
      LauncherFactory launcherFactory, VeskAppBundleStatusMessage messageOfStatus = {});

  void launchReplacement(const QuillonPropertyListValue::Dictionary& message, Reply reply) override;

 private:
  using Result = VeskAppBundleReplacementLaunchResult;

  [[nodiscard]] std::optional<Result> begin(const QuillonPropertyListValue::Dictionary& message,
                                            const Reply& reply) noexcept;
  [[nodiscard]] std::optional<Result> beginOrThrow(const QuillonPropertyListValue::Dictionary& message,
                                                   const Reply& reply);
  void report(const VeskAppBundleInstallerLaunchProgress& progress) const noexcept;
  void answer(const Result& result, const Reply& reply) const noexcept;

  const std::shared_ptr<const VeskAppBundleInstallerLauncherServiceLaunchResolving> launchResolver_;
  const std::uint64_t preAuthorizationTimeoutNanoseconds_;
  const std::uint64_t postAuthorizationTimeoutNanoseconds_;
  const QuillonMonotonicTimeProvider monotonicTimeProvider_;
  const VeskAppBundleInstallerLaunchProgressHandler progressHandler_;
  const LauncherFactory launcherFactory_;
  const VeskAppBundleStatusMessage messageOfStatus_;
  VeskAppBundleInstallerLaunchTasks launches_;  // last: its threads use the others
};

}  // namespace quillon
