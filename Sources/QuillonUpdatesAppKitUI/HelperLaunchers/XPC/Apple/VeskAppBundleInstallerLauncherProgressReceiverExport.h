#pragma once

#import <Foundation/Foundation.h>

#include <memory>

#import "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Apple/VeskAppBundleXPCProtocols.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCConversation.h"

/// What the host exports on its connection: hands events on to the conversation.
@interface VeskAppBundleInstallerLauncherProgressReceiverExport
    : NSObject <VeskAppBundleInstallerLauncherProgressXPCProtocol> {
  std::shared_ptr<quillon::VeskAppBundleXPCConversation> conversation_;
}
- (instancetype)initWithConversation:(std::shared_ptr<quillon::VeskAppBundleXPCConversation>)conversation;
@end
