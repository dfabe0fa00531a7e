#pragma once

#include "QuillonCore/Values/QuillonPropertyListValue.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementRequest.h"

namespace quillon {

/// A replacement request on its way from the host to the launcher service: a flat dictionary, its keys in
/// VeskAppBundleXPCReplacementMessageKeys.h.
///
/// The installer's own location is not sent: the service starts the installer that it knows, not one that a caller
/// names. A message without host identity can be written but is never read.
struct VeskAppBundleXPCReplacementMessage {
  VeskAppBundleReplacementRequest request;

  /// The message. What the request does not have is left out.
  [[nodiscard]] QuillonPropertyListValue::Dictionary propertyList() const;

  /// The request of a message. Relative paths are taken from the current folder. Throws
  /// VeskUpdateInstallerError::replacementLaunchFailed for a message that cannot be read.
  [[nodiscard]] static VeskAppBundleReplacementRequest parse(const QuillonPropertyListValue::Dictionary& message);
  /// The same, but throws VeskAppBundleXPCMessageRefusal, which says what is wrong with the message.
  [[nodiscard]] static VeskAppBundleReplacementRequest read(const QuillonPropertyListValue::Dictionary& message);

  friend bool operator==(const VeskAppBundleXPCReplacementMessage&,
                         const VeskAppBundleXPCReplacementMessage&) = default;
};

}  // namespace quillon
