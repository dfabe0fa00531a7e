#include "QuillonUpdatesAppKitUI/Presentation/Apple/VeskUpdateAppKitPromptWindows.h"

#import <AppKit/AppKit.h>

#include <string>
#include <utility>

#import "QuillonCore/Runtime/Apple/QuillonObjectReference.h"
#import "QuillonUpdatesAppKitUI/Presentation/Apple/VeskUpdateAppKitLifetime.h"
#import "QuillonUpdatesAppKitUI/Presentation/Apple/VeskUpdateAppKitPromptResponder.h"
#import "QuillonUpdatesAppKitUI/Presentation/Apple/VeskUpdateAppKitText.h"
#import "QuillonUpdatesAppKitUI/Presentation/Apple/VeskUpdateWebKitReleaseNotesView.h"

namespace quillon {
namespace {

namespace Identifiers = VeskUpdatePromptWindowIdentifiers;
using Button = VeskUpdatePromptButton;
using Panel = QuillonObjectReference<VeskUpdateAppKitPromptPanel>;
using Page = QuillonObjectReference<VeskUpdateWebKitReleaseNotesView>;
using Responder = QuillonObjectReference<VeskUpdateAppKitPromptResponder>;

// Points.
constexpr CGFloat kMargin = 20;
constexpr CGFloat kSpacing = 12;
constexpr CGFloat kLogoSize = 64;
constexpr CGFloat kHeadlineSize = 17;
constexpr CGFloat kSmallestPageHeight = 80;
constexpr NSInteger kHeadlineLines = 2;
constexpr NSInteger kDescriptionLines = 4;

constexpr NSWindowStyleMask kStyle = NSWindowStyleMaskTitled | NSWindowStyleMaskClosable | NSWindowStyleMaskResizable;

/// What the content of a window can be on the main screen, at most `size`; `size` where there is no screen.
NSSize sizeOnScreen(const VeskUpdatePromptWindowSize& size) {
  NSScreen* const mainScreen = [NSScreen mainScreen];
  if (mainScreen == nil) return NSMakeSize(size.width, size.height);
  const NSRect screen = [NSWindow contentRectForFrameRect:[mainScreen visibleFrame] styleMask:kStyle];
  return NSMakeSize(MIN(size.width, NSWidth(screen)), MIN(size.height, NSHeight(screen)));
}

Panel makePanel(const VeskUpdatePromptContent& content, id<NSWindowDelegate> delegate) {
  const NSSize size = sizeOnScreen(content.size);
  auto panel =
      Panel::adopt([[VeskUpdateAppKitPromptPanel alloc] initWithContentRect:NSMakeRect(0, 0, size.width, size.height)
                                                                  styleMask:kStyle
                                                                    backing:NSBackingStoreBuffered
                                                                      defer:NO]);
  [panel.get() setReleasedWhenClosed:NO];
  [panel.get() setTitle:singleLineNSString(content.windowTitle)];
  [panel.get() setContentMinSize:NSMakeSize(kSmallestPromptWindow.width, kSmallestPromptWindow.height)];
  [panel.get() setAccessibilityIdentifier:identifierNSString(Identifiers::window)];
  [panel.get() setDelegate:delegate];
  return panel;
}

NSStackView* makeStack(NSArray* views, NSUserInterfaceLayoutOrientation orientation, NSLayoutAttribute alignment,
                       CGFloat spacing) {
  NSStackView* const stack = [NSStackView stackViewWithViews:views];
  [stack setOrientation:orientation];
  [stack setAlignment:alignment];
  [stack setSpacing:spacing];
  [stack setDetachesHiddenViews:YES];
  return stack;
}

void setSize(NSView* view, CGFloat width, CGFloat height) {
  [[[view widthAnchor] constraintEqualToConstant:width] setActive:YES];
  [[[view heightAnchor] constraintEqualToConstant:height] setActive:YES];
}

void fillWidth(NSView* view, NSView* around) {
  [[[view widthAnchor] constraintEqualToAnchor:[around widthAnchor]] setActive:YES];
}

NSView* makeLogo(const std::string& name) {
  NSImage* const image = [NSImage imageNamed:identifierNSString(name)];
  NSImageView* const view = autoreleased([[NSImageView alloc] initWithFrame:NSZeroRect]);
  [view setAccessibilityIdentifier:identifierNSString(Identifiers::logoImage)];
  [view setImage:image];
  [view setImageScaling:NSImageScaleProportionallyUpOrDown];
  [view setHidden:image == nil];
  setSize(view, kLogoSize, kLogoSize);
  return view;
}

NSView* makeHeading(const VeskUpdatePromptContent& content) {
  NSTextField* const headline = makeWrappingLabel(Identifiers::titleLabel, content.headline, kHeadlineLines);
  [headline setFont:[NSFont boldSystemFontOfSize:kHeadlineSize]];
  NSTextField* const description =
      makeWrappingLabel(Identifiers::descriptionLabel, content.description, kDescriptionLines);
  NSView* const texts = makeStack([NSArray arrayWithObjects:headline, description, nil],
                                  NSUserInterfaceLayoutOrientationVertical, NSLayoutAttributeLeading, kSpacing / 2);
  return makeStack([NSArray arrayWithObjects:makeLogo(content.logoImageName), texts, nil],
                   NSUserInterfaceLayoutOrientationHorizontal, NSLayoutAttributeCenterY, kSpacing + kSpacing / 2);
}

NSView* makeReleaseNotes(const VeskUpdatePromptContent& content, NSView* page) {
  NSTextField* const label = makeSingleLineLabel(Identifiers::releaseNotesLabel);
  [label setStringValue:singleLineNSString(content.releaseNotesTitle)];
  [label setFont:[NSFont systemFontOfSize:[NSFont systemFontSize] weight:NSFontWeightSemibold]];
  [page setAccessibilityIdentifier:identifierNSString(Identifiers::releaseNotesView)];
  [page setAccessibilityLabel:singleLineNSString(content.releaseNotesTitle)];
  [[[page heightAnchor] constraintGreaterThanOrEqualToConstant:kSmallestPageHeight] setActive:YES];
  NSStackView* const column =
      makeStack([NSArray arrayWithObjects:label, page, nil], NSUserInterfaceLayoutOrientationVertical,
                NSLayoutAttributeLeading, kSpacing / 2);
  [column setDistribution:NSStackViewDistributionFill];  // the page takes what is left over
  fillWidth(page, column);
  return column;
}

NSButton* makeButton(std::string_view identifier, const std::string& title, id target, SEL action) {
  NSButton* const button = [NSButton buttonWithTitle:singleLineNSString(title) target:target action:action];
  [button setAccessibilityIdentifier:identifierNSString(identifier)];
  return button;
}

/// What presses `button`: the return key for the default button, the Escape key for the one that reminds.
NSString* keyOf(Button button, const VeskUpdatePromptContent& content) noexcept {
  if (content.defaultButton == button) return @"\r";
  return button == Button::remindLater ? @"\033" : @"";
}

/// The button that skips at the leading edge, the others at the trailing one, the install button last.
NSStackView* makeButtons(const VeskUpdatePromptContent& content, id target) {
  NSStackView* const row =
      makeStack([NSArray array], NSUserInterfaceLayoutOrientationHorizontal, NSLayoutAttributeCenterY, kSpacing);
  NSButton* const dismiss =
      makeButton(Identifiers::dismissButton, content.dismissButtonTitle, target, @selector(dismissButtonPressed:));
  [dismiss setKeyEquivalent:keyOf(Button::dismiss, content)];
  // What is left over goes between the gravity areas: the buttons hold on to their widths more.
  [row setHuggingPriority:NSLayoutPriorityDefaultLow - 1 forOrientation:NSLayoutConstraintOrientationHorizontal];
  [row addView:dismiss inGravity:NSStackViewGravityLeading];
  NSButton* const remindLater = makeButton(Identifiers::remindLaterButton, content.remindLaterButtonTitle, target,
                                           @selector(remindLaterButtonPressed:));
  [remindLater setKeyEquivalent:keyOf(Button::remindLater, content)];
  [row addView:remindLater inGravity:NSStackViewGravityTrailing];
  if (content.installButtonTitle) {
    NSButton* const install =
        makeButton(Identifiers::installButton, *content.installButtonTitle, target, @selector(installButtonPressed:));
    [install setKeyEquivalent:keyOf(Button::install, content)];
    [row addView:install inGravity:NSStackViewGravityTrailing];
  }
  return row;
}

/// The one that the return key presses; nil when there is none.
NSButton* defaultButtonOf(NSStackView* buttons) {
  for (NSButton* button in [buttons views]) {
    if ([[button keyEquivalent] isEqualToString:@"\r"]) return button;
  }
  return nil;
}

void fill(NSWindow* window, const VeskUpdatePromptContent& content, NSView* page, id target) {
  NSView* const around = [window contentView];
  NSView* const heading = makeHeading(content);
  NSView* const releaseNotes = makeReleaseNotes(content, page);
  NSStackView* const buttons = makeButtons(content, target);
  NSStackView* const column = makeStack([NSArray arrayWithObjects:heading, releaseNotes, buttons, nil],
                                        NSUserInterfaceLayoutOrientationVertical, NSLayoutAttributeLeading, kSpacing);
  [column setDistribution:NSStackViewDistributionFill];
  [column setTranslatesAutoresizingMaskIntoConstraints:NO];
  [around addSubview:column];
  [window setInitialFirstResponder:defaultButtonOf(buttons)];
  for (NSView* row in [column views]) fillWidth(row, column);
  [[[column leadingAnchor] constraintEqualToAnchor:[around leadingAnchor] constant:kMargin] setActive:YES];
  [[[column trailingAnchor] constraintEqualToAnchor:[around trailingAnchor] constant:-kMargin] setActive:YES];
  [[[column topAnchor] constraintEqualToAnchor:[around topAnchor] constant:kMargin] setActive:YES];
  [[[column bottomAnchor] constraintEqualToAnchor:[around bottomAnchor] constant:-kMargin] setActive:YES];
}

class PromptWindow final : public VeskUpdatePromptWindow {
 public:
  PromptWindow(const VeskUpdatePromptContent& content, bool allowsScripts, VeskUpdatePromptWindowDelegate& delegate)
      : delegate_(delegate),
        releaseNotesURL_(content.releaseNotesURL),
        hasDefaultButton_(content.defaultButton.has_value()),
        responder_(Responder::adopt([[VeskUpdateAppKitPromptResponder alloc]
            initWithPress:[this](Button button) { press(button); }
            close:[this] { didClose(); }])),
        page_(Page::adopt([[VeskUpdateWebKitReleaseNotesView alloc]
            initAllowingScripts:allowsScripts ? YES : NO
                 shouldNavigate:[this](const VeskUpdatePromptNavigation& navigation) {
                   return delegate_.shouldNavigate(*this, navigation);
                 }])),
        panel_(makePanel(content, responder_.get())) {
    fill(panel_.get(), content, page_.get(), responder_.get());
  }

  ~PromptWindow() override {
    @autoreleasepool {
      [page_.get() stop];
      [responder_.get() disconnect];
      if (!isClosed_) [panel_.get() close];
      // AppKit may be calling from one of them.
      keepUntilEventEnds(page_.get());
      keepUntilEventEnds(responder_.get());
      keepUntilEventEnds(panel_.get());
    }
  }

  PromptWindow(const PromptWindow&) = delete;
  PromptWindow& operator=(const PromptWindow&) = delete;

  void show() override {
    if (isClosed_) return;
    @autoreleasepool {
      [page_.get() loadPage:releaseNotesURL_];
      [panel_.get() center];
      [panel_.get() makeKeyAndOrderFront:nil];
      // Without a default button AppKit gives the keyboard to the first one, which skips the update.
      if (!hasDefaultButton_) [panel_.get() makeFirstResponder:nil];
    }
  }

  void close() override {
    @autoreleasepool {
      [panel_.get() close];
    }
  }

 private:
  // Each of these may end this object; nothing of it is touched afterwards.

  void press(Button button) {
    if (isClosed_) return;
    switch (button) {
      case Button::install:
        return delegate_.installButtonPressed(*this);
      case Button::remindLater:
        return delegate_.remindLaterButtonPressed(*this);
      case Button::dismiss:
        return delegate_.dismissButtonPressed(*this);
    }
  }

  /// Whoever closed the window.
  void didClose() {
    if (std::exchange(isClosed_, true)) return;
    [page_.get() stop];
    delegate_.windowWillClose(*this);
  }

  VeskUpdatePromptWindowDelegate& delegate_;
  const std::optional<QuillonURL> releaseNotesURL_;
  const bool hasDefaultButton_;
  const Responder responder_;
  const Page page_;
  const Panel panel_;
  bool isClosed_ = false;
};

}  // namespace

VeskUpdateAppKitPromptWindows::VeskUpdateAppKitPromptWindows(PageScripts pageScripts) : pageScripts_(pageScripts) {}

std::shared_ptr<VeskUpdatePromptWindow> VeskUpdateAppKitPromptWindows::makePromptWindow(
    const VeskUpdatePromptContent& content, VeskUpdatePromptWindowDelegate& delegate) {
  @autoreleasepool {
    return std::make_shared<PromptWindow>(content, pageScripts_ == PageScripts::allowed, delegate);
  }
}

}  // namespace quillon
