#pragma once

#include "QuillonCore/Values/QuillonPropertyListValue.h"

namespace quillon {

/// What the host offers the launcher service over the same connection: `reportProgress:`.
class VeskAppBundleInstallerLauncherProgressXPCProtocol {
 public:
  virtual ~VeskAppBundleInstallerLauncherProgressXPCProtocol() = default;

  /// An encoded event of a launch, any number of times before its reply. Called on any thread.
  virtual void reportProgress(const QuillonPropertyListValue::Dictionary& progress) = 0;
};

}  // namespace quillon
