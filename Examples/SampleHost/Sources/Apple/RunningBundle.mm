#include "RunningBundle.h"

#import <Foundation/Foundation.h>

#import "QuillonCore/Runtime/Apple/QuillonFoundationConversion.h"

namespace sample {

quillon::QuillonURL runningBundle() {
  @autoreleasepool {
    return quillon::QuillonURL::fileURL(quillon::fromNSString([[NSBundle mainBundle] bundlePath]).value_or(""));
  }
}

}  // namespace sample
