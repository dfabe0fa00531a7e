#pragma once

#import <Foundation/Foundation.h>

#include <mutex>

#import "QuillonCore/Runtime/Apple/QuillonObjectReference.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherProgressXPCProtocol.h"

namespace quillon {

/// Sends events to the host at the other end of a connection, until close().
class VeskAppBundleInstallerLauncherProgressSender final : public VeskAppBundleInstallerLauncherProgressXPCProtocol {
 public:
  explicit VeskAppBundleInstallerLauncherProgressSender(NSXPCConnection* connection)
      : connection_(QuillonObjectReference<NSXPCConnection>::retain(connection)) {}

  void reportProgress(const QuillonPropertyListValue::Dictionary& progress) override;

  /// Lets the connection go, which owns the service that owns this: nobody else would end that circle.
  void close() noexcept;

 private:
  std::mutex lock_;
  QuillonObjectReference<NSXPCConnection> connection_;  // guarded by lock_
};

}  // namespace quillon
