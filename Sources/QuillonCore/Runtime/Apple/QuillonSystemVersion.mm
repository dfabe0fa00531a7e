#import <Foundation/Foundation.h>

#include "QuillonCore/Values/QuillonSystemVersion.h"

namespace quillon {

QuillonSystemVersion QuillonSystemVersion::running() {
  @autoreleasepool {
    const NSOperatingSystemVersion version = [[NSProcessInfo processInfo] operatingSystemVersion];
    return {.major = version.majorVersion, .minor = version.minorVersion, .patch = version.patchVersion};
  }
}

}  // namespace quillon
