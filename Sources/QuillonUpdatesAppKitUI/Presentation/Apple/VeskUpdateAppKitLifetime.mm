#import "QuillonUpdatesAppKitUI/Presentation/Apple/VeskUpdateAppKitLifetime.h"

namespace quillon {

void keepUntilEventEnds(id object) noexcept {
  if (object == nil) return;
  const auto* const held = CFRetain((__bridge CFTypeRef)object);
  CFRunLoopPerformBlock(CFRunLoopGetMain(), kCFRunLoopDefaultMode, ^{
    CFRelease(held);
  });
}

}  // namespace quillon
