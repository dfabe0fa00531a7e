#pragma once

#include <cstdint>

#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementRequest.h"

namespace quillon {

/// A request as the launcher service works on it.
struct VeskAppBundleXPCReplacementLaunch {
  VeskAppBundleReplacementRequest request;
  /// The host that calls. It is known from the connection, never from the message.
  std::int32_t hostProcessIdentifier = 0;

  friend bool operator==(const VeskAppBundleXPCReplacementLaunch&, const VeskAppBundleXPCReplacementLaunch&) = default;
};

}  // namespace quillon
