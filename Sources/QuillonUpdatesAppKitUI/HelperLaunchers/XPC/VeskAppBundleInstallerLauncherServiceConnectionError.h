#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "QuillonCore/Values/QuillonError.h"

namespace quillon {

/// Domain of the errors of the connection between host and launcher service.
inline constexpr std::string_view kInstallerLauncherServiceConnectionDomain = "Quillon.XPCConnection";

// The numbers are those of Foundation's NSXPCConnectionInterrupted and NSXPCConnectionInvalid (FoundationErrors.h), so
// that reports from different platforms can be compared.
inline constexpr std::int64_t kInstallerLauncherServiceConnectionInterrupted = 4097;
inline constexpr std::int64_t kInstallerLauncherServiceConnectionInvalidated = 4099;

/// The service ended, or closed the connection.
[[nodiscard]] inline QuillonSystemError installerLauncherServiceConnectionInterrupted() {
  return {std::string(kInstallerLauncherServiceConnectionDomain), kInstallerLauncherServiceConnectionInterrupted,
          "The installer launcher XPC connection was interrupted."};
}

/// The connection was never there, or what arrived on it is no conversation.
[[nodiscard]] inline QuillonSystemError installerLauncherServiceConnectionInvalidated() {
  return {std::string(kInstallerLauncherServiceConnectionDomain), kInstallerLauncherServiceConnectionInvalidated,
          "The installer launcher XPC connection was invalidated."};
}

}  // namespace quillon
