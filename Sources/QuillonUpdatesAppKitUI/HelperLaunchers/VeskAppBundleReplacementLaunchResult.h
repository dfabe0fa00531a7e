#pragma once

#include <cstdint>
#include <string_view>
#include <utility>
#include <variant>

#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleInstallerFailureDiagnostic.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleInstallerLaunchPhase.h"

namespace quillon {

/// How the launch of the installer ended, for whoever asked for it. Nothing is said about the replacement itself.
struct VeskAppBundleReplacementLaunchResult {
  /// The installer could not be started.
  struct LaunchFailed {
    VeskAppBundleInstallerFailureDiagnostic diagnostic;
    friend bool operator==(const LaunchFailed&, const LaunchFailed&) = default;
  };
  /// The conversation with the launcher failed: a bad message, a broken connection, an unreadable reply.
  struct ProtocolFailure {
    VeskAppBundleInstallerFailureDiagnostic diagnostic;
    friend bool operator==(const ProtocolFailure&, const ProtocolFailure&) = default;
  };
  /// The authorization services refused the right.
  struct AuthorizationDenied {
    /// Status of the authorization services, such as -60005.
    std::int32_t status = 0;
    friend bool operator==(const AuthorizationDenied&, const AuthorizationDenied&) = default;
  };
  /// The user cancelled the authorization dialog.
  struct AuthorizationCancelled {
    /// Status of the authorization services, such as -60006.
    std::int32_t status = 0;
    friend bool operator==(const AuthorizationCancelled&, const AuthorizationCancelled&) = default;
  };
  /// A phase ran past its time budget.
  struct TimedOut {
    VeskAppBundleInstallerLaunchPhase phase = VeskAppBundleInstallerLaunchPhase::messageResolution;
    friend bool operator==(const TimedOut&, const TimedOut&) = default;
  };
  /// The installer's job was submitted.
  struct Launched {
    friend bool operator==(const Launched&, const Launched&) = default;
  };
  /// This host has no launcher or no installer.
  struct HelperUnavailable {
    friend bool operator==(const HelperUnavailable&, const HelperUnavailable&) = default;
  };
  using Value = std::variant<LaunchFailed, ProtocolFailure, AuthorizationDenied, AuthorizationCancelled, TimedOut,
                             Launched, HelperUnavailable>;

  Value value;

  static VeskAppBundleReplacementLaunchResult launchFailed(VeskAppBundleInstallerFailureDiagnostic diagnostic) {
    return {LaunchFailed{std::move(diagnostic)}};
  }
  static VeskAppBundleReplacementLaunchResult protocolFailure(VeskAppBundleInstallerFailureDiagnostic diagnostic) {
    return {ProtocolFailure{std::move(diagnostic)}};
  }
  static VeskAppBundleReplacementLaunchResult authorizationDenied(std::int32_t status) {
    return {AuthorizationDenied{status}};
  }
  static VeskAppBundleReplacementLaunchResult authorizationCancelled(std::int32_t status) {
    return {AuthorizationCancelled{status}};
  }
  static VeskAppBundleReplacementLaunchResult timedOut(VeskAppBundleInstallerLaunchPhase phase) {
    return {TimedOut{phase}};
  }
  static VeskAppBundleReplacementLaunchResult launched() { return {Launched{}}; }
  static VeskAppBundleReplacementLaunchResult helperUnavailable() { return {HelperUnavailable{}}; }

  /// The case's name in messages, equal to its factory's.
  [[nodiscard]] std::string_view caseName() const noexcept;

  /// Whether an installer can be at work: one was started, or nobody knows because the answer did not come or could not
  /// be understood. A launch that ended in the phase messageResolution had started nothing.
  [[nodiscard]] bool mayHaveLaunched() const noexcept;

  friend bool operator==(const VeskAppBundleReplacementLaunchResult&,
                         const VeskAppBundleReplacementLaunchResult&) = default;
};

}  // namespace quillon
