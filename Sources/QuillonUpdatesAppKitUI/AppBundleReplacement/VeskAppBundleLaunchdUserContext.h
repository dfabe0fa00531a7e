#pragma once

#include <cstdint>
#include <string>

namespace quillon {

/// The user in whose session the relaunched application runs.
struct VeskAppBundleLaunchdUserContext {
  std::uint32_t userIdentifier = 0;
  /// Primary group.
  std::uint32_t groupIdentifier = 0;
  /// Short login name.
  std::string userName;
  /// Path of the home folder.
  std::string homeDirectory;

  /// The calling process's own: its real user and group, and their name and home as the system knows them.
  [[nodiscard]] static VeskAppBundleLaunchdUserContext currentProcess();

  friend bool operator==(const VeskAppBundleLaunchdUserContext&, const VeskAppBundleLaunchdUserContext&) = default;
};

}  // namespace quillon
