#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace quillon {

/// Who the running host application is, and what it demands of the bundle that replaces it.
struct VeskAppBundleUpdateHostIdentity {
  /// Bundle identifier that the candidate must carry.
  std::string bundleIdentifier;
  /// The host's user-visible version (CFBundleShortVersionString).
  std::string applicationVersion;
  /// The host's build number (CFBundleVersion).
  std::int64_t applicationBuild = 0;
  /// Code-signing team that the candidate must be signed by; absent when it is not checked.
  std::optional<std::string> expectedTeamIdentifier;
  /// Whether a candidate with the host's own build may be installed.
  bool allowsSameBuildReplacement = false;

  friend bool operator==(const VeskAppBundleUpdateHostIdentity&, const VeskAppBundleUpdateHostIdentity&) = default;
};

}  // namespace quillon
