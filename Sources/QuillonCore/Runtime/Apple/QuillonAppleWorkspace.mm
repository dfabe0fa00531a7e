#include "QuillonCore/Runtime/Apple/QuillonAppleWorkspace.h"

#import <AppKit/AppKit.h>

#import "QuillonCore/Runtime/Apple/QuillonFoundationConversion.h"

namespace quillon {

bool QuillonAppleWorkspace::open(const QuillonURL& url) noexcept {
  @autoreleasepool {
    NSURL* const location = toNSURL(url);
    return location != nil && [[NSWorkspace sharedWorkspace] openURL:location] == YES;
  }
}

}  // namespace quillon
