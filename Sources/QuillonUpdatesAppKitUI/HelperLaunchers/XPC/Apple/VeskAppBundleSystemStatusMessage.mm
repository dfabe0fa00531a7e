#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Apple/VeskAppBundleSystemStatusMessage.h"

#import <Foundation/Foundation.h>
#import <Security/Security.h>

#import "QuillonCore/Runtime/Apple/QuillonCoreFoundationReference.h"
#import "QuillonCore/Runtime/Apple/QuillonFoundationConversion.h"

namespace quillon {

std::optional<std::string> systemStatusMessage(std::int32_t status) {
  @autoreleasepool {
    const auto message = QuillonCoreFoundationReference<CFStringRef>::adopt(SecCopyErrorMessageString(status, nullptr));
    return fromNSString((__bridge NSString*)message.get());
  }
}

}  // namespace quillon
