#include "QuillonCore/Runtime/QuillonPreferredLanguages.h"

#import <Foundation/Foundation.h>

#import "QuillonCore/Runtime/Apple/QuillonFoundationConversion.h"

namespace quillon {

std::vector<std::string> preferredLanguages() {
  @autoreleasepool {
    std::vector<std::string> languages;
    for (NSString* language in [NSLocale preferredLanguages]) {
      if (auto tag = fromNSString(language)) languages.push_back(*std::move(tag));
    }
    return languages;
  }
}

}  // namespace quillon
