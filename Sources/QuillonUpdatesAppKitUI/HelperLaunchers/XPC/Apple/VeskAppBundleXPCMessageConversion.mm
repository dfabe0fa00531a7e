#import "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Apple/VeskAppBundleXPCMessageConversion.h"

#import "QuillonCore/Runtime/Apple/QuillonFoundationConversion.h"

namespace quillon {

QuillonPropertyListValue::Dictionary receivedXPCMessage(NSDictionary* message) noexcept {
  return fromNSDictionary(message).value_or(QuillonPropertyListValue::Dictionary{});
}

}  // namespace quillon
