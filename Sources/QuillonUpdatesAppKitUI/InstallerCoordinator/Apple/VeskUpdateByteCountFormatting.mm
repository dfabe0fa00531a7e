#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateByteCountFormatting.h"

#import <Foundation/Foundation.h>

#include "QuillonCore/Runtime/Apple/QuillonFoundationConversion.h"
#include "QuillonCore/Runtime/Apple/QuillonObjectReference.h"

namespace quillon {

std::string systemFormattedByteCount(std::int64_t byteCount, std::string_view /*language*/) {
  @autoreleasepool {
    const auto formatter = QuillonObjectReference<NSByteCountFormatter>::adopt([[NSByteCountFormatter alloc] init]);
    [formatter.get() setCountStyle:NSByteCountFormatterCountStyleFile];
    [formatter.get() setZeroPadsFractionDigits:YES];
    return fromNSString([formatter.get() stringFromByteCount:byteCount]).value_or("");
  }
}

}  // namespace quillon
