#include "QuillonUpdatesAppKitUI/AppBundleInstaller/VeskAppBundleContainingApplication.h"

#import <Foundation/Foundation.h>

#import "QuillonCore/Runtime/Apple/QuillonFoundationConversion.h"

namespace quillon {

std::optional<QuillonURL> defaultContainingApplicationURL() {
  @autoreleasepool {
    const auto program = fromNSURL([[NSBundle mainBundle] executableURL]);
    return program ? containingApplicationURL(*program) : std::nullopt;
  }
}

}  // namespace quillon
