#include "QuillonCore/Runtime/QuillonSystemLogPlatform.h"

#import <Foundation/Foundation.h>

#import "QuillonCore/Runtime/Apple/QuillonFoundationConversion.h"

namespace quillon {

void writeSystemLogLine(const char* line) noexcept {
  @autoreleasepool {
    NSString* const text = toNSString(line);
    NSLog(@"%@", text != nil ? text : @"(a line that is not UTF-8)");
  }
}

}  // namespace quillon
