#import "QuillonUpdatesAppKitUI/Presentation/Apple/VeskUpdateAppKitDescendant.h"

#import "QuillonUpdatesAppKitUI/Presentation/Apple/VeskUpdateAppKitText.h"

namespace quillon {
namespace {

/// A stack view that detaches its hidden views may have taken them out of its subviews.
NSArray* childrenOf(NSView* view) {
  if ([view isKindOfClass:[NSStackView class]]) return [static_cast<NSStackView*>(view) views];
  return [view subviews];
}

id descendant(NSView* view, Class type, NSString* identifier) {
  for (NSView* child in childrenOf(view)) {
    if ([child isKindOfClass:type] && [[child accessibilityIdentifier] isEqualToString:identifier]) return child;
    if (id const found = descendant(child, type, identifier)) return found;
  }
  return nil;
}

}  // namespace

id veskUpdateProgressDescendant(NSView* view, Class type, std::string_view accessibilityIdentifier) {
  return descendant(view, type, identifierNSString(accessibilityIdentifier));
}

}  // namespace quillon
