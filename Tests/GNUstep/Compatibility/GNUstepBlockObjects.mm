#import "GNUstepBlockObjects.h"

#import <Foundation/Foundation.h>
#import <objc/runtime.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

#include <Block.h>

// What a block names as its class: where it stands, or that it has been copied, or that it never needs to be.
extern "C" {
extern void* _NSConcreteStackBlock[32];
extern void* _NSConcreteMallocBlock[32];
extern void* _NSConcreteGlobalBlock[32];
}

/// Every block: its memory is that of the blocks' runtime, and so are its owners.
@interface GNUstepBlock : NSObject
@end

@implementation GNUstepBlock

- (id)copy {
  return (id)_Block_copy(self);
}

- (id)copyWithZone:(NSZone*)zone {
  (void)zone;
  return (id)_Block_copy(self);
}

- (id)retain {
  return (id)_Block_copy(self);
}

- (oneway void)release {
  _Block_release(self);
}

- (id)autorelease {
  [NSAutoreleasePool addObject:self];
  return self;
}

@end

namespace quillon::testing {
namespace {

/// Registers a class that stands at `room`, where the blocks look for it.
void makeClass(void* (&room)[32], const char* name) {
  Class const made = objc_allocateClassPair([GNUstepBlock class], name, 0);
  const std::size_t size = class_getInstanceSize(object_getClass(made));
  if (size > sizeof room) std::abort();
  std::memcpy(room, made, size);
  objc_registerClassPair(reinterpret_cast<Class>(&room[0]));
}

}  // namespace

void makeBlocksObjects() {
  [[maybe_unused]] static const bool isDone = [] {
    makeClass(_NSConcreteStackBlock, "GNUstepStackBlock");
    makeClass(_NSConcreteMallocBlock, "GNUstepMallocBlock");
    makeClass(_NSConcreteGlobalBlock, "GNUstepGlobalBlock");
    return true;
  }();
}

}  // namespace quillon::testing
