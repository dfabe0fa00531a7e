#import <Foundation/Foundation.h>

#include "QuillonCore/Runtime/Apple/QuillonFoundationConversion.h"
#include "QuillonCore/Runtime/Apple/QuillonObjectReference.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateLocalizationBundle.h"

namespace quillon {

std::shared_ptr<const VeskUpdateLocalizationBundle> makeSystemLocalizationBundle(const QuillonURL& bundleURL) {
  @autoreleasepool {
    const auto bundle = QuillonObjectReference<NSBundle>::retain([NSBundle bundleWithURL:toNSURL(bundleURL)]);
    const auto lookup = [bundle](std::string_view key, std::string_view table) {
      @autoreleasepool {
        NSString* const english = toNSString(key);
        NSString* const text = [bundle.get() localizedStringForKey:english value:english table:toNSString(table)];
        return fromNSString(text).value_or(std::string(key));
      }
    };
    NSString* const language = [[bundle.get() preferredLocalizations] firstObject];
    return std::make_shared<const VeskUpdateLocalizationBundle>(lookup, fromNSString(language).value_or("en"));
  }
}

}  // namespace quillon
