#import "Security.h"

CFStringRef SecCopyErrorMessageString(std::int32_t status, void* /*reserved*/) {
  return status == -60005 ? [[NSString alloc] initWithFormat:@"status %d", status] : nil;
}
