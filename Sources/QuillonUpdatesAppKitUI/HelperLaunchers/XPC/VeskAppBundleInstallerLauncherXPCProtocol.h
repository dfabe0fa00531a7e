#pragma once

#include <functional>

#include "QuillonCore/Values/QuillonPropertyListValue.h"

namespace quillon {

/// What the launcher service offers the host over their connection: `launchReplacementWithMessage:reply:`.
class VeskAppBundleInstallerLauncherXPCProtocol {
 public:
  using Reply = std::function<void(const QuillonPropertyListValue::Dictionary& reply)>;

  virtual ~VeskAppBundleInstallerLauncherXPCProtocol() = default;

  /// Returns without waiting for the launch. Calls `reply` exactly once, on any thread.
  virtual void launchReplacement(const QuillonPropertyListValue::Dictionary& message, Reply reply) = 0;
};

}  // namespace quillon
