#import "QuillonUpdatesAppKitUI/Presentation/Apple/VeskUpdateAppKitText.h"

#import "QuillonCore/Runtime/Apple/QuillonFoundationConversion.h"
#include "QuillonCore/Text/QuillonPlainText.h"

namespace quillon {
namespace {

NSString* orEmpty(NSString* text) noexcept { return text != nil ? text : @""; }

}  // namespace

NSString* singleLineNSString(std::string_view text) { return orEmpty(toNSString(singleLineText(text))); }

NSString* multiLineNSString(std::string_view text) { return orEmpty(toNSString(multiLineText(text))); }

NSString* identifierNSString(std::string_view identifier) { return orEmpty(toNSString(identifier)); }

NSTextField* makeSingleLineLabel(std::string_view identifier) {
  NSTextField* const label = [NSTextField labelWithString:@""];
  [label setAccessibilityIdentifier:identifierNSString(identifier)];
  [label setLineBreakMode:NSLineBreakByTruncatingTail];
  [label setContentCompressionResistancePriority:NSLayoutPriorityDefaultLow
                                  forOrientation:NSLayoutConstraintOrientationHorizontal];
  return label;
}

NSTextField* makeWrappingLabel(std::string_view identifier, const std::string& text, NSInteger lineCount) {
  NSTextField* const label = [NSTextField wrappingLabelWithString:singleLineNSString(text)];
  [label setAccessibilityIdentifier:identifierNSString(identifier)];
  [label setSelectable:NO];  // which it is at first, unlike a label in one line
  [label setMaximumNumberOfLines:lineCount];
  [[label cell] setTruncatesLastVisibleLine:YES];
  [label setContentCompressionResistancePriority:NSLayoutPriorityDefaultLow
                                  forOrientation:NSLayoutConstraintOrientationHorizontal];
  return label;
}

}  // namespace quillon
