#pragma once

// What the adapters for macOS use and GNUstep lacks: included before each of them, by the compiler's command line.

#import <AppKit/AppKit.h>
#import <Foundation/NSByteCountFormatter.h>

#import <CoreFoundation/CoreFoundation.h>

#import "XPCLoopback.h"

// GNUstep's own says nothing, and then the compiler misses the method.
#undef NS_UNAVAILABLE
#define NS_UNAVAILABLE __attribute__((unavailable))

typedef struct {
  NSInteger majorVersion;
  NSInteger minorVersion;
  NSInteger patchVersion;
} NSOperatingSystemVersion;

static const NSProgressIndicatorStyle NSProgressIndicatorStyleBar = NSProgressIndicatorBarStyle;
static const NSBezelStyle NSBezelStyleRounded = NSRoundedBezelStyle;
static const NSAlertStyle NSAlertStyleWarning = NSWarningAlertStyle;
static const NSAlertStyle NSAlertStyleInformational = NSInformationalAlertStyle;

@interface NSUserDefaults (GNUstepCompatibility)
- (instancetype)initWithSuiteName:(NSString*)name;
@end

@interface NSView (GNUstepCompatibility)
- (NSString*)accessibilityIdentifier;
- (void)setAccessibilityIdentifier:(NSString*)identifier;
- (void)setContentCompressionResistancePriority:(NSLayoutPriority)priority
                                 forOrientation:(NSLayoutConstraintOrientation)orientation;
- (void)setTranslatesAutoresizingMaskIntoConstraints:(BOOL)translates;
// Constraints are not tried here: there are no anchors, and whatever is asked of none does nothing.
- (NSLayoutAnchor*)leadingAnchor;
- (NSLayoutAnchor*)trailingAnchor;
- (NSLayoutAnchor*)centerYAnchor;
- (NSLayoutAnchor*)widthAnchor;
- (NSLayoutAnchor*)heightAnchor;
@end

@interface NSLayoutAnchor (GNUstepCompatibility)
- (NSLayoutConstraint*)constraintEqualToConstant:(CGFloat)constant;
@end

@interface NSWindow (GNUstepCompatibility)
- (void)setAccessibilityIdentifier:(NSString*)identifier;
@end

@interface NSControl (GNUstepCompatibility)
- (void)setLineBreakMode:(NSLineBreakMode)mode;
@end

@interface NSTextField (GNUstepCompatibility)
+ (instancetype)labelWithString:(NSString*)text;
+ (instancetype)wrappingLabelWithString:(NSString*)text;
- (void)setMaximumNumberOfLines:(NSInteger)lines;
@end

@interface NSCell (GNUstepCompatibility)
- (void)setTruncatesLastVisibleLine:(BOOL)truncates;
@end

@interface NSFont (GNUstepCompatibility)
+ (NSFont*)systemFontOfSize:(CGFloat)size weight:(NSFontWeight)weight;
+ (NSFont*)monospacedDigitSystemFontOfSize:(CGFloat)size weight:(NSFontWeight)weight;
@end

@interface NSAlert (GNUstepCompatibility)
- (BOOL)showsSuppressionButton;
- (void)setShowsSuppressionButton:(BOOL)shows;
- (NSButton*)suppressionButton;
@end

/// Holds views, without laying them out. As the system's may do, it detaches hidden ones by leaving them out of its
/// subviews.
@interface NSStackView : NSView
+ (instancetype)stackViewWithViews:(NSArray*)views;
/// Detached ones, too.
- (NSArray*)views;
- (void)setOrientation:(NSUserInterfaceLayoutOrientation)orientation;
- (void)setAlignment:(NSLayoutAttribute)alignment;
- (void)setSpacing:(CGFloat)spacing;
- (void)setDetachesHiddenViews:(BOOL)detaches;
@end

#import "GNUstepPromptViews.h"
