#include "QuillonUpdatesAppKitUI/Presentation/Apple/VeskUpdateAppKitProgressWindows.h"

#import <AppKit/AppKit.h>

#include <functional>
#include <string_view>
#include <utility>

#import "QuillonCore/Runtime/Apple/QuillonObjectReference.h"
#import "QuillonUpdatesAppKitUI/Presentation/Apple/VeskUpdateAppKitDescendant.h"
#import "QuillonUpdatesAppKitUI/Presentation/Apple/VeskUpdateAppKitLifetime.h"
#import "QuillonUpdatesAppKitUI/Presentation/Apple/VeskUpdateAppKitText.h"
#import "QuillonUpdatesAppKitUI/Presentation/Apple/VeskUpdateProgressActionButton.h"

namespace quillon {
namespace {

namespace Identifiers = VeskUpdateProgressWindowIdentifiers;
using Window = QuillonObjectReference<NSWindow>;

// Points.
constexpr CGFloat kContentWidth = 420;
constexpr CGFloat kContentHeight = 132;
constexpr CGFloat kMargin = 20;
constexpr CGFloat kSpacing = 6;
constexpr CGFloat kBarHeight = 16;

Window makeWindow(const std::string& title) {
  auto window = Window::adopt([[NSWindow alloc] initWithContentRect:NSMakeRect(0, 0, kContentWidth, kContentHeight)
                                                          styleMask:NSWindowStyleMaskTitled
                                                            backing:NSBackingStoreBuffered
                                                              defer:NO]);
  [window.get() setReleasedWhenClosed:NO];
  [window.get() setCollectionBehavior:NSWindowCollectionBehaviorCanJoinAllSpaces];
  [window.get() setLevel:NSFloatingWindowLevel];
  [window.get() setHidesOnDeactivate:YES];
  [window.get() setTitle:singleLineNSString(title)];
  return window;
}

NSTextField* makeTitleLabel() {
  NSTextField* const label = makeSingleLineLabel(Identifiers::titleLabel);
  [label setFont:[NSFont systemFontOfSize:[NSFont systemFontSize] weight:NSFontWeightSemibold]];
  return label;
}

NSTextField* makeStatusLabel() {
  NSTextField* const label = makeSingleLineLabel(Identifiers::statusLabel);
  [label setFont:[NSFont monospacedDigitSystemFontOfSize:[NSFont smallSystemFontSize] weight:NSFontWeightRegular]];
  [label setTextColor:[NSColor secondaryLabelColor]];
  [label setHidden:YES];
  return label;
}

NSProgressIndicator* makeBar() {
  NSProgressIndicator* const bar = autoreleased([[NSProgressIndicator alloc] initWithFrame:NSZeroRect]);
  [bar setAccessibilityIdentifier:identifierNSString(Identifiers::progressIndicator)];
  [bar setStyle:NSProgressIndicatorStyleBar];
  [bar setUsesThreadedAnimation:YES];
  [bar setIndeterminate:YES];
  [bar setMinValue:0.0];
  [bar setMaxValue:1.0];
  [bar startAnimation:nil];
  return bar;
}

VeskUpdateProgressActionButton* makeActionButton() {
  VeskUpdateProgressActionButton* const button =
      autoreleased([[VeskUpdateProgressActionButton alloc] initWithFrame:NSZeroRect]);
  [button setAccessibilityIdentifier:identifierNSString(Identifiers::actionButton)];
  [button setBezelStyle:NSBezelStyleRounded];
  [button setHidden:YES];
  return button;
}

NSStackView* makeButtonRow(NSView* button) {
  NSStackView* const row = [NSStackView stackViewWithViews:[NSArray arrayWithObject:button]];
  [row setOrientation:NSUserInterfaceLayoutOrientationHorizontal];
  [row setAlignment:NSLayoutAttributeCenterY];
  [row setSpacing:0];
  [row setDetachesHiddenViews:YES];
  return row;
}

NSStackView* makeColumn(NSArray* views) {
  NSStackView* const column = [NSStackView stackViewWithViews:views];
  [column setOrientation:NSUserInterfaceLayoutOrientationVertical];
  [column setAlignment:NSLayoutAttributeLeading];
  [column setSpacing:kSpacing];
  [column setDetachesHiddenViews:YES];
  [column setTranslatesAutoresizingMaskIntoConstraints:NO];
  return column;
}

void layOut(NSView* column, NSView* bar, NSView* content) {
  [[[column leadingAnchor] constraintEqualToAnchor:[content leadingAnchor] constant:kMargin] setActive:YES];
  [[[column trailingAnchor] constraintEqualToAnchor:[content trailingAnchor] constant:-kMargin] setActive:YES];
  [[[column centerYAnchor] constraintEqualToAnchor:[content centerYAnchor]] setActive:YES];
  [[[bar heightAnchor] constraintEqualToConstant:kBarHeight] setActive:YES];
  [[[bar widthAnchor] constraintEqualToAnchor:[column widthAnchor]] setActive:YES];
}

class ProgressWindow final : public VeskUpdateProgressWindow {
 public:
  explicit ProgressWindow(const std::string& windowTitle) : window_(makeWindow(windowTitle)) {}

  ~ProgressWindow() override {
    @autoreleasepool {
      keepUntilEventEnds(window_.get());
      [window_.get() close];
    }
  }

  ProgressWindow(const ProgressWindow&) = delete;
  ProgressWindow& operator=(const ProgressWindow&) = delete;

  [[nodiscard]] bool hasProgressContent() const override { return bar() != nil; }

  void configureProgressContent() override {
    @autoreleasepool {
      NSView* const content = [window_.get() contentView];
      [content setSubviews:[NSArray array]];
      NSProgressIndicator* const bar = makeBar();
      NSView* const row = makeButtonRow(makeActionButton());
      NSView* const column = makeColumn([NSArray arrayWithObjects:makeTitleLabel(), makeStatusLabel(), bar, row, nil]);
      [content addSubview:column];
      layOut(column, bar, content);
    }
  }

  void setTitleText(const std::string& text) override {
    @autoreleasepool {
      [label(Identifiers::titleLabel) setStringValue:singleLineNSString(text)];
    }
  }

  void setStatusText(const std::string& text) override {
    @autoreleasepool {
      [label(Identifiers::statusLabel) setStringValue:singleLineNSString(text)];
    }
  }

  void setStatusHidden(bool hidden) override { [label(Identifiers::statusLabel) setHidden:hidden ? YES : NO]; }

  void showDeterminateProgress(double fraction) override {
    NSProgressIndicator* const found = bar();
    [found stopAnimation:nil];
    [found setIndeterminate:NO];
    [found setMinValue:0.0];
    [found setMaxValue:1.0];
    [found setDoubleValue:fraction];
  }

  void showIndeterminateProgress() override {
    NSProgressIndicator* const found = bar();
    [found setIndeterminate:YES];
    [found setDoubleValue:0.0];
    [found startAnimation:nil];  // a fraction has stopped it
  }

  void hideAndDisableActionButton() override {
    [actionButton() setEnabled:NO];
    [actionButton() setHidden:YES];
  }

  void showActionButton(const std::string& title, std::function<void()> action) override {
    @autoreleasepool {
      VeskUpdateProgressActionButton* const button = actionButton();
      [button setTitle:singleLineNSString(title)];
      [button setActionHandler:std::move(action)];
      [button setHidden:NO];
      [button setEnabled:YES];
      [button sizeToFit];
    }
  }

  void show() override {
    [window_.get() center];
    [window_.get() makeKeyAndOrderFront:nil];
  }

  void close() override { [window_.get() close]; }

 private:
  [[nodiscard]] id find(Class type, std::string_view identifier) const {
    return veskUpdateProgressDescendant([window_.get() contentView], type, identifier);
  }
  [[nodiscard]] NSTextField* label(std::string_view identifier) const { return find([NSTextField class], identifier); }
  [[nodiscard]] NSProgressIndicator* bar() const {
    return find([NSProgressIndicator class], Identifiers::progressIndicator);
  }
  [[nodiscard]] VeskUpdateProgressActionButton* actionButton() const {
    return find([VeskUpdateProgressActionButton class], Identifiers::actionButton);
  }

  const Window window_;
};

}  // namespace

std::shared_ptr<VeskUpdateProgressWindow> VeskUpdateAppKitProgressWindows::makeProgressWindow(
    const std::string& windowTitle) {
  @autoreleasepool {
    return std::make_shared<ProgressWindow>(windowTitle);
  }
}

}  // namespace quillon
