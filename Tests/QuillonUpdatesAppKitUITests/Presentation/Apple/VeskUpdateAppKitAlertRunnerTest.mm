#import <AppKit/AppKit.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "QuillonCore/Runtime/Apple/QuillonAppleMainThread.h"
#include "QuillonUpdatesAppKitUI/Presentation/Apple/VeskUpdateAppKitAlertRunner.h"
#import "QuillonUpdatesAppKitUI/Presentation/Apple/VeskUpdateAppKitDescendant.h"

namespace quillon {
namespace {

class VeskUpdateAppKitAlertRunnerTest : public ::testing::Test {
 protected:
  VeskUpdateAppKitAlertRunnerTest() { [NSApplication sharedApplication]; }

  /// Presses the button `index` as soon as the alert is up.
  VeskUpdateAlertAnswer runAndPress(const VeskUpdateAlert& alert, int index) {
    const std::string identifier = std::string(VeskUpdateAlertIdentifiers::button) + std::to_string(index);
    mainThread_.post([this, identifier] {
      didRunWithinAlert_ = [NSApp modalWindow] != nil;
      NSButton* const button =
          veskUpdateProgressDescendant([[NSApp modalWindow] contentView], [NSButton class], identifier);
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
