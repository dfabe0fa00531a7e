#import <Foundation/Foundation.h>

#include "QuillonCore/Runtime/Apple/QuillonFoundationConversion.h"
#include "QuillonCore/Runtime/Apple/QuillonObjectReference.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateLocalizationBundle.h"

namespace quillon {

namespace {

/// Nil where there is no bundle.
NSBundle* bundleAt(const QuillonURL& url) noexcept {
  NSURL* const location = toNSURL(url);
  return location == nil ? nil : [NSBundle bundleWithURL:location];
}

}  // namespace

std::shared_ptr<const VeskUpdateLocalizationBundle> makeSystemLocalizationBundle(const QuillonURL& bundleURL) {
  @autoreleasepool {
    const auto bundle = QuillonObjectReference<NSBundle>::retain(bundleAt(bundleURL));
    const auto lookup = [bundle](std::string_view key, std::string_view table) {
      @autoreleasepool {
        NSString* const english = toNSString(key);
        NSString* const file = toNSString(table);
        // A key that is nil has an empty text, and a table that is nil is the application's.
        if (english == nil || file == nil) return std::string(key);
        NSString* const text = [bundle.get() localizedStringForKey:english value:english table:file];
        return fromNSString(text).value_or(std::string(key));
      }
    };
    NSString* const language = [[bundle.get() preferredLocalizations] firstObject];
    return std::make_shared<const VeskUpdateLocalizationBundle>(lookup, fromNSString(language).value_or("en"));
  }
}

}  // namespace quillon
