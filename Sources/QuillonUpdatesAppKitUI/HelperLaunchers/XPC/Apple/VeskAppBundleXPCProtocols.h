#pragma once

#import <Foundation/Foundation.h>

// The two remote interfaces as the object runtime knows them. Both ends describe their connection with these, so a
// changed selector or argument is a changed protocol between versions of this system.

/// What the launcher service offers the host.
@protocol VeskAppBundleInstallerLauncherXPCProtocol
/// The service calls `reply` exactly once, on any thread.
- (void)launchReplacementWithMessage:(NSDictionary*)message reply:(void (^)(NSDictionary* result))reply;
@end

/// What the host offers the launcher service over the same connection.
@protocol VeskAppBundleInstallerLauncherProgressXPCProtocol
- (void)reportProgress:(NSDictionary*)progress;
@end

namespace quillon {

/// The description of the first protocol for a connection. It belongs to the autorelease pool.
[[nodiscard]] NSXPCInterface* makeInterface() noexcept;
/// The same of the second.
[[nodiscard]] NSXPCInterface* makeProgressInterface() noexcept;

}  // namespace quillon
