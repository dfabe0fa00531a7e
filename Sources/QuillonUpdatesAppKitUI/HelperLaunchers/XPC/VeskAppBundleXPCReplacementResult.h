#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "QuillonCore/Values/QuillonPropertyListValue.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/VeskAppBundleReplacementLaunchResult.h"

namespace quillon {

// The launcher service's reply: a flat dictionary, its keys in VeskAppBundleXPCReplacementResultKeys.h.

/// The operating system's text for a status of its authorization services (`SecCopyErrorMessageString`). Empty where
/// the system has no such texts, as on Linux.
using VeskAppBundleStatusMessage = std::function<std::optional<std::string>(std::int32_t status)>;

/// The reply of a result. `messageOfStatus` describes the status of a refused or cancelled authorization.
[[nodiscard]] QuillonPropertyListValue::Dictionary xpcDictionary(const VeskAppBundleReplacementLaunchResult& result,
                                                                 const VeskAppBundleStatusMessage& messageOfStatus);

/// The result of a reply. A reply that cannot be read is `protocolFailure` of the phase `xpcReply`, so that whoever
/// waits always gets a result.
[[nodiscard]] VeskAppBundleReplacementLaunchResult replacementLaunchResult(
    const QuillonPropertyListValue::Dictionary& reply) noexcept;

/// The same, but throws VeskAppBundleXPCMessageRefusal, which says why the reply cannot be read.
[[nodiscard]] VeskAppBundleReplacementLaunchResult readReplacementLaunchResult(
    const QuillonPropertyListValue::Dictionary& reply);

}  // namespace quillon
