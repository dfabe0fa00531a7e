#import <AppKit/AppKit.h>
#include <gtest/gtest.h>
#import <objc/runtime.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "QuillonCore/Runtime/Posix/QuillonPosixFileManager.h"
#import "QuillonUpdatesAppKitUI/Presentation/Apple/VeskUpdateAppKitDescendant.h"
#include "QuillonUpdatesAppKitUI/Presentation/Apple/VeskUpdateAppKitProgressWindows.h"
#import "QuillonUpdatesAppKitUI/Presentation/Apple/VeskUpdateProgressActionButton.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateProgressWindowPresenter.h"
#include "Support/Apple/RunLoopTurns.h"
#include "Support/TemporaryDirectory.h"

namespace {

bool barMoves = false;

}  // namespace

/// Tells whether it moves, which the system's own tells nobody. It has no state, so that a bar can be made one.
@interface ObservedProgressIndicator : NSProgressIndicator
@end

@implementation ObservedProgressIndicator

- (void)startAnimation:(id)sender {
  [super startAnimation:sender];
  barMoves = true;
}

- (void)stopAnimation:(id)sender {
  [super stopAnimation:sender];
  barMoves = false;
}

@end

namespace quillon {
namespace {

namespace Identifiers = VeskUpdateProgressWindowIdentifiers;

class VeskUpdateAppKitProgressWindowsTest : public ::testing::Test {
 protected:
  VeskUpdateAppKitProgressWindowsTest() { [NSApplication sharedApplication]; }
  ~VeskUpdateAppKitProgressWindowsTest() override {
    window_.reset();
    testing::runMainRunLoop();
  }

  [[nodiscard]] VeskUpdateProgressWindowPresenter makePresenter() const {
    const auto files = std::make_shared<QuillonPosixFileManager>();
    const QuillonURL host = QuillonURL::fileURL((folder_ / "Host.app").string());
    return {std::make_shared<VeskUpdateAppKitProgressWindows>(), files, host,
            std::make_shared<const VeskUpdateLocalizationBundle>(files, host, std::vector<std::string>{"en"})};
  }

  void show(const std::string& title = "Downloading update…",
            const std::optional<std::string>& name = "Example Update") {
    window_ = makePresenter().showProgressWindow(title, name);
  }
  void update(const VeskUpdateProgressWindowState& state) const {
    makePresenter().updateProgressWindow(window_, state);
  }
  void offer(std::function<void()> action) const {
    makePresenter().showReadyToInstallAndRelaunch(window_, "Ready to Install", "Install and Relaunch",
                                                  std::move(action));
  }

  /// The window that is on the screen; nil when there is none.
  [[nodiscard]] static NSWindow* onScreen() {
    for (NSWindow* window in [NSApp windows]) {
      if ([window isVisible] && [window level] == NSFloatingWindowLevel) return window;
    }
    return nil;
  }
  [[nodiscard]] static id part(Class type, std::string_view identifier) {
    return veskUpdateProgressDescendant([onScreen() contentView], type, identifier);
  }
  [[nodiscard]] static NSTextField* title() { return part([NSTextField class], Identifiers::titleLabel); }
  [[nodiscard]] static NSTextField* status() { return part([NSTextField class], Identifiers::statusLabel); }
  [[nodiscard]] static NSProgressIndicator* bar() {
    return part([NSProgressIndicator class], Identifiers::progressIndicator);
  }
  [[nodiscard]] static VeskUpdateProgressActionButton* button() {
    return part([VeskUpdateProgressActionButton class], Identifiers::actionButton);
  }
  [[nodiscard]] static std::string text(NSString* text) { return text == nil ? "(nil)" : [text UTF8String]; }

  testing::TemporaryDirectory folder_;
  std::shared_ptr<VeskUpdateProgressWindow> window_;
};

TEST_F(VeskUpdateAppKitProgressWindowsTest, AShownWindowHasItsTextsAndAnIndeterminateBarAtZero) {
  show("Downloading update…", "Example Update");

  EXPECT_EQ(text([onScreen() title]), "Example Update");
  EXPECT_EQ(text([title() stringValue]), "Downloading update…");
  EXPECT_TRUE([status() isHidden]);
  EXPECT_TRUE([bar() isIndeterminate]);
  EXPECT_EQ([bar() doubleValue], 0.0);
  EXPECT_EQ([bar() minValue], 0.0);
  EXPECT_EQ([bar() maxValue], 1.0);
  EXPECT_TRUE([button() isHidden]);
}

TEST_F(VeskUpdateAppKitProgressWindowsTest, TheContentIs420By132AndCannotBeResizedOrClosed) {
  show();

  const NSSize size = [[onScreen() contentView] frame].size;
  EXPECT_EQ(size.width, 420);
  EXPECT_EQ(size.height, 132);
  EXPECT_EQ([onScreen() styleMask], static_cast<NSUInteger>(NSWindowStyleMaskTitled));
  EXPECT_TRUE([onScreen() hidesOnDeactivate]);
  EXPECT_FALSE([onScreen() isReleasedWhenClosed]);
}

TEST_F(VeskUpdateAppKitProgressWindowsTest, AWindowTitleOfWhiteSpaceFallsBackToSoftwareUpdate) {
  show("", " \n\t");

  EXPECT_EQ(text([onScreen() title]), "Software Update");
}

TEST_F(VeskUpdateAppKitProgressWindowsTest, AFractionAboveOneShowsAFullBarAndAnAbsentOneAnIndeterminateBar) {
  show();

  update({.title = "a", .statusText = std::nullopt, .progressFraction = 1.3});
  EXPECT_EQ([bar() doubleValue], 1.0);
  EXPECT_FALSE([bar() isIndeterminate]);

  update({.title = "b", .statusText = std::nullopt, .progressFraction = std::nullopt});
  EXPECT_EQ([bar() doubleValue], 0.0);
  EXPECT_TRUE([bar() isIndeterminate]);
}

TEST_F(VeskUpdateAppKitProgressWindowsTest, ABarWithoutAFractionMovesAlsoAfterOne) {
  show();
  object_setClass(bar(), [ObservedProgressIndicator class]);
  barMoves = true;

  update({.title = "a", .statusText = std::nullopt, .progressFraction = 1.0});
  const bool movedWithAFraction = barMoves;
  update({.title = "b", .statusText = std::nullopt, .progressFraction = std::nullopt});

  EXPECT_FALSE(movedWithAFraction);
  EXPECT_TRUE(barMoves);
}

TEST_F(VeskUpdateAppKitProgressWindowsTest, AnEmptyStatusTextHidesTheStatus) {
  show();

  update({.title = "a", .statusText = "1 MB of 4 MB", .progressFraction = 0.25});
  EXPECT_FALSE([status() isHidden]);
  EXPECT_EQ(text([status() stringValue]), "1 MB of 4 MB");
  EXPECT_EQ([bar() doubleValue], 0.25);

  update({.title = "a", .statusText = "", .progressFraction = std::nullopt});
  EXPECT_TRUE([status() isHidden]);
}

TEST_F(VeskUpdateAppKitProgressWindowsTest, APressResolvesOnceAndDisablesTheButton) {
  int presses = 0;
  show();
  offer([&] { ++presses; });
  EXPECT_EQ(text([button() title]), "Install and Relaunch");
  EXPECT_TRUE([button() isEnabled]);

  [button() performClick:nil];
  [button() performClick:nil];

  EXPECT_EQ(presses, 1);
  EXPECT_FALSE([button() isEnabled]);
  EXPECT_EQ([bar() doubleValue], 1.0);
}

TEST_F(VeskUpdateAppKitProgressWindowsTest, AStateChangeWithdrawsTheOffer) {
  show();
  offer([] {});

  update({.title = "Preparing to install…", .statusText = std::nullopt, .progressFraction = std::nullopt});

  EXPECT_TRUE([button() isHidden]);
  EXPECT_FALSE([button() isEnabled]);
}

TEST_F(VeskUpdateAppKitProgressWindowsTest, TheActionMayCloseAndDestroyTheWindow) {
  bool didPress = false;
  show();
  offer([&] {
    makePresenter().hideProgressWindow(window_);
    window_.reset();
    didPress = true;
  });

  [button() performClick:nil];
  testing::runMainRunLoop();

  EXPECT_TRUE(didPress);
  EXPECT_TRUE(onScreen() == nil);
}

TEST_F(VeskUpdateAppKitProgressWindowsTest, AWindowMayBeClosedTwiceAndUpdatedAfterwards) {
  show();

  makePresenter().hideProgressWindow(window_);
  makePresenter().hideProgressWindow(window_);
  update({.title = "late", .statusText = "later", .progressFraction = 0.5});

  EXPECT_TRUE(onScreen() == nil);
}

TEST_F(VeskUpdateAppKitProgressWindowsTest, ContentThatIsGoneIsBuiltAgain) {
  show();
  [[[[onScreen() contentView] subviews] lastObject] removeFromSuperview];
  ASSERT_FALSE(window_->hasProgressContent());

  update({.title = "again", .statusText = std::nullopt, .progressFraction = 0.5});

  EXPECT_EQ(text([title() stringValue]), "again");
  EXPECT_EQ([bar() doubleValue], 0.5);
}

TEST_F(VeskUpdateAppKitProgressWindowsTest, HostileTextsAreShownAsTextInOneLine) {
  show();

  update({.title = "<b>bold</b> _mnemonic", .statusText = "a\nb", .progressFraction = std::nullopt});
  EXPECT_EQ(text([title() stringValue]), "<b>bold</b> _mnemonic");
  EXPECT_EQ(text([status() stringValue]), "a b");

  update({.title = "\xff\xfe broken", .statusText = std::nullopt, .progressFraction = std::nullopt});
  EXPECT_EQ(text([title() stringValue]), "\xEF\xBF\xBD\xEF\xBF\xBD broken");
}

}  // namespace
}  // namespace quillon
