#import <Foundation/Foundation.h>

#include <utility>

#import "QuillonCore/Runtime/Apple/QuillonFoundationConversion.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixPlatform.h"

namespace quillon {

std::vector<QuillonURL> systemApplicationSupportDirectories() {
  @autoreleasepool {
    std::vector<QuillonURL> folders;
    for (NSURL* folder in [[NSFileManager defaultManager] URLsForDirectory:NSApplicationSupportDirectory
                                                                 inDomains:NSUserDomainMask]) {
      if (auto url = fromNSURL(folder)) folders.push_back(*std::move(url));
    }
    return folders;
  }
}

}  // namespace quillon
