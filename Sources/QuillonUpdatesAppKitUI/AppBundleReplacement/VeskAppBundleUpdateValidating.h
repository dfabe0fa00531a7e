#pragma once

#include <stop_token>

#include "QuillonCore/Values/QuillonURL.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleUpdateHostIdentity.h"

namespace quillon {

/// Decides whether an application bundle may replace the host's.
class VeskAppBundleUpdateValidating {
 public:
  virtual ~VeskAppBundleUpdateValidating() = default;

  /// Returns when `bundle` may replace the application described by `hostIdentity`; throws the VeskUpdateInstallerError
  /// of the first rule that it breaks. Blocks while the code-signing tool runs; changes nothing on disk. Throws
  /// QuillonCancellationError promptly when a stop was requested before the verdict is there.
  virtual void validateAppBundle(const QuillonURL& bundle, const VeskAppBundleUpdateHostIdentity& hostIdentity,
                                 std::stop_token stopToken = {}) const = 0;
};

}  // namespace quillon
