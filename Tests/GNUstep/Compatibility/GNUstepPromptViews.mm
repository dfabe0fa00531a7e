#import "GNUstepCompatibility.h"

@implementation NSButton (GNUstepPromptViews)

+ (instancetype)buttonWithTitle:(NSString*)title target:(id)target action:(SEL)action {
  NSButton* const button = [[[self alloc] initWithFrame:NSZeroRect] autorelease];
  [button setTitle:title];
  [button setBezelStyle:NSRoundedBezelStyle];
  [button setTarget:target];
  [button setAction:action];
  return button;
}

@end

@implementation NSView (GNUstepPromptViews)

- (void)setAccessibilityLabel:(NSString*)label {
  (void)label;
}

- (NSLayoutAnchor*)topAnchor {
  return nil;
}

- (NSLayoutAnchor*)bottomAnchor {
  return nil;
}

@end

@implementation NSLayoutAnchor (GNUstepPromptViews)

- (NSLayoutConstraint*)constraintGreaterThanOrEqualToConstant:(CGFloat)constant {
  (void)constant;
  return nil;
}

@end

@implementation NSStackView (GNUstepPromptViews)

- (void)addView:(NSView*)view inGravity:(NSStackViewGravity)gravity {
  (void)gravity;
  [self addSubview:view];
}

- (void)setDistribution:(NSStackViewDistribution)distribution {
  (void)distribution;
}

- (void)setHuggingPriority:(NSLayoutPriority)priority forOrientation:(NSLayoutConstraintOrientation)orientation {
  (void)priority;
  (void)orientation;
}

@end
