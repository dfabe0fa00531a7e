#pragma once

#import <Foundation/Foundation.h>

#include <memory>

#import "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Apple/VeskAppBundleXPCProtocols.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherXPCProtocol.h"

/// What the launcher service exports on a connection: hands requests on to the service, which it owns.
@interface VeskAppBundleInstallerLauncherServiceExport : NSObject <VeskAppBundleInstallerLauncherXPCProtocol> {
  std::shared_ptr<quillon::VeskAppBundleInstallerLauncherXPCProtocol> service_;
}
- (instancetype)initWithService:(std::shared_ptr<quillon::VeskAppBundleInstallerLauncherXPCProtocol>)service;
/// Ends the service, and waits for its launches. On the connection's queue, which delivers the requests too, so that
/// the service never ends on a thread of its own.
- (void)letServiceGo;
@end
