#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Apple/VeskAppBundleNSXPCInstallerLauncherServiceConnectionFactory.h"

#include <utility>

#import "QuillonCore/Runtime/Apple/QuillonFoundationConversion.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Apple/VeskAppBundleNSXPCInstallerLauncherServiceConnection.h"

namespace quillon {

std::shared_ptr<VeskAppBundleInstallerLauncherServiceConnection>
VeskAppBundleNSXPCInstallerLauncherServiceConnectionFactory::make(
    const std::string& serviceName, ErrorHandler errorHandler,
    VeskAppBundleInstallerLaunchProgressHandler progressHandler) noexcept {
  @autoreleasepool {
    if (serviceName.empty() || toNSString(serviceName) == nil) return nullptr;
    return std::make_shared<VeskAppBundleNSXPCInstallerLauncherServiceConnection>(serviceName, std::move(errorHandler),
                                                                                  std::move(progressHandler));
  }
}

}  // namespace quillon
