#include "Support/Apple/ScopedUserDefaults.h"

#import <Foundation/Foundation.h>

#import "QuillonCore/Runtime/Apple/QuillonFoundationConversion.h"
#include "QuillonCore/Values/QuillonUUID.h"

namespace quillon::testing {

ScopedUserDefaults::ScopedUserDefaults() : identifier_("io.quillon.tests." + makeUUIDString()) {}

ScopedUserDefaults::~ScopedUserDefaults() {
  @autoreleasepool {
    [[NSUserDefaults standardUserDefaults] removePersistentDomainForName:toNSString(identifier_)];
  }
}

}  // namespace quillon::testing
