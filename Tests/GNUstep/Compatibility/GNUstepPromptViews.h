#pragma once

#import <AppKit/AppKit.h>

// What the prompt's window and its tests use and GNUstep lacks.

static const NSEventType NSEventTypeKeyDown = NSKeyDown;

typedef NS_ENUM(NSInteger, NSStackViewGravity) {
  NSStackViewGravityTop = 1,
  NSStackViewGravityLeading = 1,
  NSStackViewGravityCenter = 2,
  NSStackViewGravityBottom = 3,
  NSStackViewGravityTrailing = 3,
};

@interface NSButton (GNUstepPromptViews)
+ (instancetype)buttonWithTitle:(NSString*)title target:(id)target action:(SEL)action;
@end

typedef NS_ENUM(NSInteger, NSStackViewDistribution) {
  NSStackViewDistributionGravityAreas = -1,
  NSStackViewDistributionFill = 0,
};

@interface NSView (GNUstepPromptViews)
- (void)setAccessibilityLabel:(NSString*)label;
- (NSLayoutAnchor*)topAnchor;
- (NSLayoutAnchor*)bottomAnchor;
@end

@interface NSLayoutAnchor (GNUstepPromptViews)
- (NSLayoutConstraint*)constraintGreaterThanOrEqualToConstant:(CGFloat)constant;
@end

@interface NSStackView (GNUstepPromptViews)
- (void)addView:(NSView*)view inGravity:(NSStackViewGravity)gravity;
- (void)setDistribution:(NSStackViewDistribution)distribution;
- (void)setHuggingPriority:(NSLayoutPriority)priority forOrientation:(NSLayoutConstraintOrientation)orientation;
@end
