#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace quillon {

/// Where a helper launch stood.
enum class VeskAppBundleInstallerLaunchPhase : std::uint8_t {
  messageResolution,
  preAuthorization,
  authorization,
  postAuthorization,
  jobSubmission,
  xpcConnection,
  xpcReply,
};

/// The phase's name in messages and diagnostics, equal to the enumerator's name.
[[nodiscard]] std::string_view rawValue(VeskAppBundleInstallerLaunchPhase phase) noexcept;
/// The phase of that name; absent for an unknown one.
[[nodiscard]] std::optional<VeskAppBundleInstallerLaunchPhase> launchPhaseFromRawValue(std::string_view text) noexcept;

}  // namespace quillon
