#import "QuillonUpdatesAppKitUI/AppBundleInstaller/Apple/VeskAppBundleInstallerLauncherServiceExport.h"

#include <utility>

#import "QuillonCore/Runtime/Apple/QuillonFoundationConversion.h"
#import "QuillonCore/Runtime/Apple/QuillonObjectReference.h"
#include "QuillonUpdatesAppKitUI/AppBundleInstaller/VeskAppBundleInstallerLauncherServiceMaking.h"
#import "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Apple/VeskAppBundleXPCMessageConversion.h"

namespace {

using Dictionary = quillon::QuillonPropertyListValue::Dictionary;
using ReplyBlock = void (^)(NSDictionary*);

/// `reply` as a function, which owns a copy of it. Ends the process without memory: no exception may leave for the
/// object runtime, and a request without an answer would hold its host up.
quillon::VeskAppBundleInstallerLauncherXPCProtocol::Reply functionOf(ReplyBlock reply) noexcept {
  return [held = quillon::QuillonObjectReference<NSObject>::adopt((NSObject*)[reply copy])](const Dictionary& result) {
    @autoreleasepool {
      NSDictionary* const dictionary = quillon::toNSDictionary(result);
      ((ReplyBlock)(id)held.get())(dictionary != nil ? dictionary : [NSDictionary dictionary]);
    }
  };
}

}  // namespace

@implementation VeskAppBundleInstallerLauncherServiceExport

- (instancetype)initWithService:(std::shared_ptr<quillon::VeskAppBundleInstallerLauncherXPCProtocol>)service {
  self = [super init];
  if (self != nil) service_ = std::move(service);
  return self;
}

- (void)launchReplacementWithMessage:(NSDictionary*)message reply:(ReplyBlock)reply {
  if (!service_) return reply([NSDictionary dictionary]);
  quillon::launchReplacementOrRefuse(*service_, quillon::receivedXPCMessage(message), functionOf(reply));
}

- (void)letServiceGo {
  service_.reset();
}

@end
