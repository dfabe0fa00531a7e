#import "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Apple/VeskAppBundleXPCProtocols.h"

namespace quillon {

// Dictionaries of an interface may hold property-list values and nothing else unless told otherwise, which is what the
// messages are made of.

NSXPCInterface* makeInterface() noexcept {
  return [NSXPCInterface interfaceWithProtocol:@protocol(VeskAppBundleInstallerLauncherXPCProtocol)];
}

NSXPCInterface* makeProgressInterface() noexcept {
  return [NSXPCInterface interfaceWithProtocol:@protocol(VeskAppBundleInstallerLauncherProgressXPCProtocol)];
}

}  // namespace quillon
