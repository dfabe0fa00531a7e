#pragma once

#import "GNUstepCompatibility.h"

// What the adapters use of Foundation and GNUstep lacks: included before each of them, by the compiler's command line.

// GNUstep's own says nothing.
#undef NS_UNAVAILABLE
#define NS_UNAVAILABLE __attribute__((unavailable))

@interface NSBundle (FoundationAdditions)
/// GNUstep's looks for no folder Contents.
+ (NSBundle*)bundleWithURL:(NSURL*)url;
@end

@interface NSData (FoundationAdditions)
- (void)enumerateByteRangesUsingBlock:(void (^)(const void* bytes, NSRange range, BOOL* stop))block;
@end

@interface NSProcessInfo (FoundationAdditions)
/// That of the kernel: GNUstep knows no other one.
- (NSOperatingSystemVersion)operatingSystemVersion;
@end

@interface NSFileManager (FoundationAdditions)
- (NSArray*)URLsForDirectory:(NSSearchPathDirectory)directory inDomains:(NSSearchPathDomainMask)domains;
@end
