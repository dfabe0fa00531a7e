#pragma once

#include <cstdint>
#include <string_view>
#include <variant>

namespace quillon {

/// What a launcher tells about a launch while it goes on.
struct VeskAppBundleInstallerLaunchProgress {
  /// Administrator rights are needed, and why.
  struct AuthorizationRequired {
    /// Whether files can be made beside the installed bundle.
    bool destinationParentIsWritable = false;
    /// Whether the update could be given the owner and group of the installed bundle.
    bool canPreserveInstalledOwnership = false;
    friend bool operator==(const AuthorizationRequired&, const AuthorizationRequired&) = default;
  };
  /// The authorization step, dialog included, is over.
  struct AuthorizationEnded {
    /// Time that it took, of a monotonic clock.
    std::uint64_t elapsedNanoseconds = 0;
    friend bool operator==(const AuthorizationEnded&, const AuthorizationEnded&) = default;
  };
  /// The launcher has accepted the request and begun work.
  struct HandoffStarted {
    friend bool operator==(const HandoffStarted&, const HandoffStarted&) = default;
  };
  /// The authorization step begins; a dialog may be on the screen.
  struct AuthorizationBegan {
    friend bool operator==(const AuthorizationBegan&, const AuthorizationBegan&) = default;
  };
  /// The installer's job has been handed to the service manager.
  struct JobSubmitted {
    friend bool operator==(const JobSubmitted&, const JobSubmitted&) = default;
  };
  using Value =
      std::variant<AuthorizationRequired, AuthorizationEnded, HandoffStarted, AuthorizationBegan, JobSubmitted>;

  Value value;

  static VeskAppBundleInstallerLaunchProgress authorizationRequired(AuthorizationRequired reason) { return {reason}; }
  static VeskAppBundleInstallerLaunchProgress authorizationEnded(std::uint64_t elapsedNanoseconds) {
    return {AuthorizationEnded{elapsedNanoseconds}};
  }
  static VeskAppBundleInstallerLaunchProgress handoffStarted() { return {HandoffStarted{}}; }
  static VeskAppBundleInstallerLaunchProgress authorizationBegan() { return {AuthorizationBegan{}}; }
  static VeskAppBundleInstallerLaunchProgress jobSubmitted() { return {JobSubmitted{}}; }

  /// The case's name in messages, equal to its factory's.
  [[nodiscard]] std::string_view caseName() const noexcept;

  friend bool operator==(const VeskAppBundleInstallerLaunchProgress&,
                         const VeskAppBundleInstallerLaunchProgress&) = default;
};

}  // namespace quillon
