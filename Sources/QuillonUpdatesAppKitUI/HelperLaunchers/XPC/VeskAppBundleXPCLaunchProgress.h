#pragma once

#include <optional>

#include "QuillonCore/Values/QuillonPropertyListValue.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/VeskAppBundleInstallerLaunchProgress.h"

namespace quillon {

// What the launcher service reports before it replies: flat dictionaries, their keys in
// VeskAppBundleXPCLaunchProgressKeys.h.

/// The message of an event. A time beyond 9223372036854775807 ns (292 years), the largest integer of a property list,
/// is sent as that.
[[nodiscard]] QuillonPropertyListValue::Dictionary xpcDictionary(const VeskAppBundleInstallerLaunchProgress& progress);

/// The event of a message. Absent for one that cannot be read, which is to be passed over.
[[nodiscard]] std::optional<VeskAppBundleInstallerLaunchProgress> installerLaunchProgress(
    const QuillonPropertyListValue::Dictionary& message) noexcept;

/// The same, but throws VeskAppBundleXPCMessageRefusal, which says why the message cannot be read.
[[nodiscard]] VeskAppBundleInstallerLaunchProgress readInstallerLaunchProgress(
    const QuillonPropertyListValue::Dictionary& message);

}  // namespace quillon
