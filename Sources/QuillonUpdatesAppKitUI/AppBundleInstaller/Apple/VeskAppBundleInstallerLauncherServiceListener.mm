#include "QuillonUpdatesAppKitUI/AppBundleInstaller/Apple/VeskAppBundleInstallerLauncherServiceListener.h"

#import <Foundation/Foundation.h>

#include <unistd.h>

#include <memory>
#include <utility>

#import "QuillonCore/Runtime/Apple/QuillonObjectReference.h"
#import "QuillonUpdatesAppKitUI/AppBundleInstaller/Apple/VeskAppBundleInstallerLauncherProgressSender.h"
#import "QuillonUpdatesAppKitUI/AppBundleInstaller/Apple/VeskAppBundleInstallerLauncherServiceExport.h"
#import "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Apple/VeskAppBundleXPCProtocols.h"

namespace {

/// Ends the process without memory: no exception may leave for the object runtime.
std::shared_ptr<quillon::VeskAppBundleInstallerLauncherProgressSender> makeSender(
    NSXPCConnection* connection) noexcept {
  return std::make_shared<quillon::VeskAppBundleInstallerLauncherProgressSender>(connection);
}

}  // namespace

/// Sets up each connection with a service of its own.
@interface VeskAppBundleInstallerLauncherServiceListenerDelegate : NSObject <NSXPCListenerDelegate> {
  quillon::VeskAppBundleInstallerLauncherServiceMaking makeService_;
}
- (instancetype)initWithServiceMaking:(quillon::VeskAppBundleInstallerLauncherServiceMaking)makeService;
@end

@implementation VeskAppBundleInstallerLauncherServiceListenerDelegate

- (instancetype)initWithServiceMaking:(quillon::VeskAppBundleInstallerLauncherServiceMaking)makeService {
  self = [super init];
  if (self != nil) makeService_ = std::move(makeService);
  return self;
}

- (BOOL)listener:(NSXPCListener*)listener shouldAcceptNewConnection:(NSXPCConnection*)connection {
  (void)listener;
  if ([connection effectiveUserIdentifier] != getuid()) return NO;
  const auto sender = makeSender(connection);
  auto service = quillon::makeServiceOrNone(makeService_, [connection processIdentifier], sender);
  if (!service) {
    sender->close();
    return NO;
  }
  const auto exported = quillon::QuillonObjectReference<VeskAppBundleInstallerLauncherServiceExport>::adopt(
      [[VeskAppBundleInstallerLauncherServiceExport alloc] initWithService:std::move(service)]);
  [connection setExportedInterface:quillon::makeInterface()];
  [connection setExportedObject:exported.get()];
  [connection setRemoteObjectInterface:quillon::makeProgressInterface()];
  [connection setInvalidationHandler:^{
    sender->close();
    [exported.get() letServiceGo];
  }];
  [connection resume];
  return YES;
}

@end

namespace quillon {

bool processIsXPCService() noexcept {
  @autoreleasepool {
    NSString* const name = [[[NSProcessInfo processInfo] environment] objectForKey:@"XPC_SERVICE_NAME"];
    NSString* const kind = [[[NSBundle mainBundle] bundlePath] pathExtension];
    // launchd sets the variable for whatever it starts, and shells hand on a "0".
    return [kind isEqualToString:@"xpc"] && [name length] > 0 && ![name isEqualToString:@"0"];
  }
}

void serveXPCConnections(const VeskAppBundleInstallerLauncherServiceMaking& makeService) noexcept {
  @autoreleasepool {
    // The listener does not own its delegate; this frame, which is not left, does.
    const auto delegate = QuillonObjectReference<VeskAppBundleInstallerLauncherServiceListenerDelegate>::adopt(
        [[VeskAppBundleInstallerLauncherServiceListenerDelegate alloc] initWithServiceMaking:makeService]);
    NSXPCListener* const listener = [NSXPCListener serviceListener];
    [listener setDelegate:delegate.get()];
    [listener resume];
  }
}

}  // namespace quillon
