#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleLaunchdUserContext.h"

#import <Foundation/Foundation.h>

#include <unistd.h>

#import "QuillonCore/Runtime/Apple/QuillonFoundationConversion.h"

namespace quillon {

VeskAppBundleLaunchdUserContext VeskAppBundleLaunchdUserContext::currentProcess() {
  @autoreleasepool {
    // Without a name or a home they stay empty; whoever needs them refuses that.
    return {.userIdentifier = getuid(),
            .groupIdentifier = getgid(),
            .userName = fromNSString(NSUserName()).value_or(""),
            .homeDirectory = fromNSString(NSHomeDirectory()).value_or("")};
  }
}

}  // namespace quillon
