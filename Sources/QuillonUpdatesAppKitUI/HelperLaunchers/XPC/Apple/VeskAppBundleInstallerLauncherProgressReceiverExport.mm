#import "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Apple/VeskAppBundleInstallerLauncherProgressReceiverExport.h"

#include <utility>

#import "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Apple/VeskAppBundleXPCMessageConversion.h"

@implementation VeskAppBundleInstallerLauncherProgressReceiverExport

- (instancetype)initWithConversation:(std::shared_ptr<quillon::VeskAppBundleXPCConversation>)conversation {
  self = [super init];
  if (self != nil) conversation_ = std::move(conversation);
  return self;
}

- (void)reportProgress:(NSDictionary*)progress {
  conversation_->didProgress(quillon::receivedXPCMessage(progress));
}

@end
