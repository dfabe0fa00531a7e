#import <Foundation/Foundation.h>

/// The compiler hands each file's protocols to the runtime as those of a category of this class, which GNUstep's
/// runtime lacks. Without it they stay without name and methods.
@interface __ObjC_Protocol_Holder_Ugly_Hack : NSObject
@end

@implementation __ObjC_Protocol_Holder_Ugly_Hack
@end
