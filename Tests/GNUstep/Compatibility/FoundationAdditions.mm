#import "FoundationAdditions.h"

#include <sys/utsname.h>

// Methods that take the place of GNUstep's.
#pragma clang diagnostic ignored "-Wobjc-protocol-method-implementation"

@implementation NSBundle (FoundationAdditions)

+ (NSBundle*)bundleWithURL:(NSURL*)url {
  NSString* const contents = [[url path] stringByAppendingPathComponent:@"Contents"];
  const BOOL hasContents = [[NSFileManager defaultManager] fileExistsAtPath:contents];
  return [self bundleWithPath:hasContents ? contents : [url path]];
}

@end

@implementation NSData (FoundationAdditions)

- (void)enumerateByteRangesUsingBlock:(void (^)(const void* bytes, NSRange range, BOOL* stop))block {
  BOOL stop = NO;
  block([self bytes], NSMakeRange(0, [self length]), &stop);
}

@end

@implementation NSProcessInfo (FoundationAdditions)

- (NSOperatingSystemVersion)operatingSystemVersion {
  utsname system{};
  uname(&system);
  NSArray* const numbers = [[NSString stringWithUTF8String:system.release] componentsSeparatedByString:@"."];
  const auto numberAt = [numbers](NSUInteger index) -> NSInteger {
    return index < [numbers count] ? [[numbers objectAtIndex:index] integerValue] : 0;
  };
  return {numberAt(0), numberAt(1), numberAt(2)};
}

@end

@implementation NSFileManager (FoundationAdditions)

- (NSArray*)URLsForDirectory:(NSSearchPathDirectory)directory inDomains:(NSSearchPathDomainMask)domains {
  NSMutableArray* const urls = [NSMutableArray array];
  for (NSString* path in NSSearchPathForDirectoriesInDomains(directory, domains, YES)) {
    [urls addObject:[NSURL fileURLWithPath:path isDirectory:YES]];
  }
  return urls;
}

@end
