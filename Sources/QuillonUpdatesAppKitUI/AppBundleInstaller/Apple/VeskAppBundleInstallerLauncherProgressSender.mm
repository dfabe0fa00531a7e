#import "QuillonUpdatesAppKitUI/AppBundleInstaller/Apple/VeskAppBundleInstallerLauncherProgressSender.h"

#include <utility>

#import "QuillonCore/Runtime/Apple/QuillonFoundationConversion.h"
#import "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Apple/VeskAppBundleXPCProtocols.h"

namespace quillon {

void VeskAppBundleInstallerLauncherProgressSender::reportProgress(
    const QuillonPropertyListValue::Dictionary& progress) {
  @autoreleasepool {
    QuillonObjectReference<NSXPCConnection> connection;
    {
      const std::lock_guard guard(lock_);
      connection = connection_;
    }
    // Nil once the connection is closed, and then nobody hears of it.
    const id<VeskAppBundleInstallerLauncherProgressXPCProtocol> host = [connection.get() remoteObjectProxy];
    [host reportProgress:toNSDictionary(progress)];
  }
}

void VeskAppBundleInstallerLauncherProgressSender::close() noexcept {
  QuillonObjectReference<NSXPCConnection> connection;
  const std::lock_guard guard(lock_);
  connection = std::move(connection_);
}

}  // namespace quillon
