#import "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Apple/VeskAppBundleXPCMessageConversion.h"

#include <utility>

#import "QuillonCore/Runtime/Apple/QuillonFoundationConversion.h"

namespace quillon {

QuillonPropertyListValue::Dictionary receivedXPCMessage(NSDictionary* message) noexcept {
  using Value = QuillonPropertyListValue;
  Value::Dictionary entries;
  for (id key in message) {
    if (![key isKindOfClass:[NSString class]]) return {};
    // Text that no UTF-8 holds is no key of a message.
    if (auto name = fromNSString(key)) {
      auto value = fromPropertyListObject([message objectForKey:key]);
      entries.emplace(*std::move(name), value ? *std::move(value) : Value(Value::Array{}));
    }
  }
  return entries;
}

}  // namespace quillon
