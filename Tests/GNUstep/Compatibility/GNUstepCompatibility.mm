#import "GNUstepCompatibility.h"

#import <objc/runtime.h>

CFStringRef const kCFRunLoopDefaultMode = NSDefaultRunLoopMode;
CFStringRef const kCFRunLoopCommonModes = @"kCFRunLoopCommonModes";

namespace {

/// Values that categories add to objects, kept as long as the process runs.
NSMutableDictionary* valuesOf(id object) {
  static NSMutableDictionary* const all = [[NSMutableDictionary alloc] init];
  NSValue* const key = [NSValue valueWithPointer:object];
  NSMutableDictionary* values = [all objectForKey:key];
  if (values == nil) {
    values = [NSMutableDictionary dictionary];
    [all setObject:values forKey:key];
  }
  return values;
}

NSArray* modesOf(NSString* mode) {
  if (![mode isEqualToString:kCFRunLoopCommonModes]) return [NSArray arrayWithObject:mode];
  return [NSArray arrayWithObjects:NSDefaultRunLoopMode, NSModalPanelRunLoopMode, NSEventTrackingRunLoopMode, nil];
}

}  // namespace

@interface GNUstepBlockCall : NSObject {
  void (^block_)(void);
}
- (instancetype)initWithBlock:(void (^)(void))block;
- (void)call;
@end

@implementation GNUstepBlockCall

- (instancetype)initWithBlock:(void (^)(void))block {
  self = [super init];
  if (self != nil) block_ = Block_copy(block);
  return self;
}

- (void)dealloc {
  Block_release(block_);
  [super dealloc];
}

- (void)call {
  block_();
}

@end

CFTypeRef CFRetain(CFTypeRef object) { return [(id)object retain]; }

void CFRelease(CFTypeRef object) { [(id)object release]; }

CFTypeID CFBooleanGetTypeID() { return 1; }

CFTypeID CFGetTypeID(CFTypeRef object) {
  return [(id)object class] == [[NSNumber numberWithBool:YES] class] ? CFBooleanGetTypeID() : 0;
}

bool CFNumberIsFloatType(CFNumberRef number) {
  const char type = *[(NSNumber*)(id)number objCType];
  return type == 'd' || type == 'f';
}

CFRunLoopRef CFRunLoopGetMain() { return nullptr; }

void CFRunLoopPerformBlock(CFRunLoopRef /*loop*/, CFTypeRef mode, void (^block)(void)) {
  @autoreleasepool {
    GNUstepBlockCall* const call = [[[GNUstepBlockCall alloc] initWithBlock:block] autorelease];
    [call performSelectorOnMainThread:@selector(call)
                           withObject:nil
                        waitUntilDone:NO
                                modes:modesOf((NSString*)(id)mode)];
  }
}

void CFRunLoopWakeUp(CFRunLoopRef /*loop*/) {}

CFRunLoopRunResult CFRunLoopRunInMode(CFStringRef mode, double seconds, bool /*returnAfterSourceHandled*/) {
  @autoreleasepool {
    [[NSRunLoop currentRunLoop] acceptInputForMode:mode beforeDate:[NSDate dateWithTimeIntervalSinceNow:seconds]];
  }
  return kCFRunLoopRunTimedOut;
}

@implementation NSUserDefaults (GNUstepCompatibility)

/// GNUstep keeps what is set under the name of the process, whatever suites there are. It is made empty here.
- (instancetype)initWithSuiteName:(NSString*)name {
  (void)name;
  [self release];
  NSUserDefaults* const defaults = [NSUserDefaults standardUserDefaults];
  [defaults removePersistentDomainForName:[[NSProcessInfo processInfo] processName]];
  return [defaults retain];
}

@end

@implementation NSView (GNUstepCompatibility)

- (NSString*)accessibilityIdentifier {
  return [valuesOf(self) objectForKey:@"identifier"];
}

- (void)setAccessibilityIdentifier:(NSString*)identifier {
  [valuesOf(self) setObject:identifier forKey:@"identifier"];
}

- (void)setContentCompressionResistancePriority:(NSLayoutPriority)priority
                                 forOrientation:(NSLayoutConstraintOrientation)orientation {
  (void)orientation;
  [valuesOf(self) setObject:[NSNumber numberWithFloat:priority] forKey:@"compressionResistance"];
}

- (void)setTranslatesAutoresizingMaskIntoConstraints:(BOOL)translates {
  (void)translates;
}

- (NSLayoutAnchor*)leadingAnchor {
  return nil;
}

- (NSLayoutAnchor*)trailingAnchor {
  return nil;
}

- (NSLayoutAnchor*)centerYAnchor {
  return nil;
}

- (NSLayoutAnchor*)widthAnchor {
  return nil;
}

- (NSLayoutAnchor*)heightAnchor {
  return nil;
}

@end

@implementation NSLayoutAnchor (GNUstepCompatibility)

- (NSLayoutConstraint*)constraintEqualToConstant:(CGFloat)constant {
  (void)constant;
  return nil;
}

@end

@implementation NSWindow (GNUstepCompatibility)

- (void)setAccessibilityIdentifier:(NSString*)identifier {
  [valuesOf(self) setObject:identifier forKey:@"identifier"];
}

@end

@implementation NSControl (GNUstepCompatibility)

- (void)setLineBreakMode:(NSLineBreakMode)mode {
  [[self cell] setLineBreakMode:mode];
}

@end

@implementation NSTextField (GNUstepCompatibility)

+ (instancetype)labelWithString:(NSString*)text {
  NSTextField* const label = [[[self alloc] initWithFrame:NSZeroRect] autorelease];
  [label setStringValue:text];
  [label setEditable:NO];
  [label setBordered:NO];
  [label setDrawsBackground:NO];
  return label;
}

+ (instancetype)wrappingLabelWithString:(NSString*)text {
  return [self labelWithString:text];
}

- (void)setMaximumNumberOfLines:(NSInteger)lines {
  (void)lines;
}

@end

@implementation NSCell (GNUstepCompatibility)

- (void)setTruncatesLastVisibleLine:(BOOL)truncates {
  (void)truncates;
}

@end

@implementation NSFont (GNUstepCompatibility)

+ (NSFont*)systemFontOfSize:(CGFloat)size weight:(NSFontWeight)weight {
  return weight > 0 ? [self boldSystemFontOfSize:size] : [self systemFontOfSize:size];
}

+ (NSFont*)monospacedDigitSystemFontOfSize:(CGFloat)size weight:(NSFontWeight)weight {
  return [self systemFontOfSize:size weight:weight];
}

@end

@implementation NSAlert (GNUstepCompatibility)

- (BOOL)showsSuppressionButton {
  return [[valuesOf(self) objectForKey:@"showsSuppressionButton"] boolValue];
}

- (void)setShowsSuppressionButton:(BOOL)shows {
  [valuesOf(self) setObject:[NSNumber numberWithBool:shows] forKey:@"showsSuppressionButton"];
}

- (NSButton*)suppressionButton {
  NSButton* button = [valuesOf(self) objectForKey:@"suppressionButton"];
  if (button == nil) {
    button = [[[NSButton alloc] initWithFrame:NSZeroRect] autorelease];
    [button setButtonType:NSSwitchButton];
    [valuesOf(self) setObject:button forKey:@"suppressionButton"];
  }
  return button;
}

@end

@implementation NSStackView

+ (instancetype)stackViewWithViews:(NSArray*)views {
  NSStackView* const stack = [[[self alloc] initWithFrame:NSZeroRect] autorelease];
  for (NSView* view in views) [stack addSubview:view];
  return stack;
}

- (void)setOrientation:(NSUserInterfaceLayoutOrientation)orientation {
  (void)orientation;
}

- (void)setAlignment:(NSLayoutAttribute)alignment {
  (void)alignment;
}

- (void)setSpacing:(CGFloat)spacing {
  (void)spacing;
}

- (void)setDetachesHiddenViews:(BOOL)detaches {
  [valuesOf(self) setObject:[NSNumber numberWithBool:detaches] forKey:@"detachesHiddenViews"];
}

- (NSArray*)views {
  return [super subviews];
}

- (NSArray*)subviews {
  if (![[valuesOf(self) objectForKey:@"detachesHiddenViews"] boolValue]) return [super subviews];
  NSMutableArray* const attached = [NSMutableArray array];
  for (NSView* view in [super subviews]) {
    if (![view isHidden]) [attached addObject:view];
  }
  return attached;
}

@end
