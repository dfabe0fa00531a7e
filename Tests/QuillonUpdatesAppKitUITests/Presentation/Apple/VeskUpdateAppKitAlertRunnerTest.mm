#import <AppKit/AppKit.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <optional>
#include <string>

#include "QuillonCore/Runtime/Apple/QuillonAppleMainThread.h"
#import "QuillonCore/Runtime/Apple/QuillonFoundationConversion.h"
#include "QuillonUpdatesAppKitUI/Presentation/Apple/VeskUpdateAppKitAlertRunner.h"

namespace quillon {
namespace {

NSButton* buttonTitled(NSView* view, NSString* title) {
  for (NSView* child in [view subviews]) {
    const bool isButton = [child isKindOfClass:[NSButton class]];
    if (isButton && [[static_cast<NSButton*>(child) title] isEqualToString:title]) return static_cast<NSButton*>(child);
    if (NSButton* const found = buttonTitled(child, title)) return found;
  }
  return nil;
}

/// The one that the return key presses; nil when there is none.
NSButton* defaultButton(NSView* view) {
  for (NSView* child in [view subviews]) {
    const bool isButton = [child isKindOfClass:[NSButton class]];
    if (isButton && [[static_cast<NSButton*>(child) keyEquivalent] isEqualToString:@"\r"]) {
      return static_cast<NSButton*>(child);
    }
    if (NSButton* const found = defaultButton(child)) return found;
  }
  return nil;
}

class VeskUpdateAppKitAlertRunnerTest : public ::testing::Test {
 protected:
  VeskUpdateAppKitAlertRunnerTest() { [NSApplication sharedApplication]; }

  /// Presses the button `index` as soon as the alert is up.
  VeskUpdateAlertAnswer runAndPress(const VeskUpdateAlert& alert, std::size_t index) {
    mainThread_.post([this, title = alert.buttons[index]] {
      didRunWithinAlert_ = [NSApp modalWindow] != nil;
      NSButton* const button = buttonTitled([[NSApp modalWindow] contentView], toNSString(title));
      if (button == nil) return [NSApp abortModal];
      [button performClick:nil];
    });
    return VeskUpdateAppKitAlertRunner().run(alert);
  }

  QuillonAppleMainThread mainThread_;
  bool didRunWithinAlert_ = false;
};

VeskUpdateAlert makeAlert() {
  VeskUpdateAlert alert;
  alert.title = "Download Failed";
  alert.body = "You can download the update manually.";
  alert.buttons = {"Update Manually", "Cancel"};
  return alert;
}

TEST_F(VeskUpdateAppKitAlertRunnerTest, TheFirstButtonIsTheFirstAnswer) {
  EXPECT_EQ(runAndPress(makeAlert(), 0).pressedButton, 0U);
}

TEST_F(VeskUpdateAppKitAlertRunnerTest, TheLastButtonIsTheLastAnswer) {
  EXPECT_EQ(runAndPress(makeAlert(), 1).pressedButton, 1U);
}

TEST_F(VeskUpdateAppKitAlertRunnerTest, ThePlatformsOwnButtonIsTheFirstAnswer) {
  VeskUpdateAlert alert = makeAlert();
  alert.buttons.clear();
  mainThread_.post([] {
    NSButton* const button = defaultButton([[NSApp modalWindow] contentView]);
    if (button == nil) return [NSApp abortModal];
    [button performClick:nil];
  });

  EXPECT_EQ(VeskUpdateAppKitAlertRunner().run(alert).pressedButton, 0U);
}

TEST_F(VeskUpdateAppKitAlertRunnerTest, AnEndWithoutAButtonIsNoAnswer) {
  VeskUpdateAlert alert = makeAlert();
  alert.buttons.clear();
  mainThread_.post([] { [NSApp abortModal]; });

  EXPECT_EQ(VeskUpdateAppKitAlertRunner().run(alert).pressedButton, std::nullopt);
}

TEST_F(VeskUpdateAppKitAlertRunnerTest, WhatIsPostedRunsWhileAnAlertIsUp) {
  (void)runAndPress(makeAlert(), 0);

  EXPECT_TRUE(didRunWithinAlert_);
}

TEST_F(VeskUpdateAppKitAlertRunnerTest, TheCheckboxAnswersOnlyWhereThereIsOne) {
  VeskUpdateAlert alert = makeAlert();
  EXPECT_EQ(runAndPress(alert, 0).isSuppressionCheckboxOn, std::nullopt);

  alert.suppressionCheckbox = VeskUpdateAlert::SuppressionCheckbox{.title = "Check for beta releases", .isOn = true};
  EXPECT_EQ(runAndPress(alert, 0).isSuppressionCheckboxOn, true);

  alert.suppressionCheckbox->isOn = false;
  EXPECT_EQ(runAndPress(alert, 0).isSuppressionCheckboxOn, false);
}

}  // namespace
}  // namespace quillon
