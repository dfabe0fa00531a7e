#import <AppKit/AppKit.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "QuillonCore/Contracts/QuillonWorkspaceOpening.h"
#include "QuillonCore/Runtime/Apple/QuillonAppleMainThread.h"
#import "QuillonCore/Runtime/Apple/QuillonObjectReference.h"
#import "QuillonUpdatesAppKitUI/Presentation/Apple/VeskUpdateAppKitAlertRunner.h"
#import "QuillonUpdatesAppKitUI/Presentation/Apple/VeskUpdateAppKitDescendant.h"
#import "QuillonUpdatesAppKitUI/Presentation/Apple/VeskUpdateAppKitPromptResponder.h"
#include "QuillonUpdatesAppKitUI/Presentation/Apple/VeskUpdateAppKitPromptWindows.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdatePromptPresenter.h"
#include "QuillonUpdatesAppKitUITests/Presentation/PromptInputMaking.h"
#include "Support/Apple/RunLoopTurns.h"

namespace quillon {
namespace {

namespace Identifiers = VeskUpdatePromptWindowIdentifiers;
using Action = VeskUpdatePromptAction;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class NoBrowser final : public QuillonWorkspaceOpening {
 public:
  bool open(const QuillonURL& /*url*/) noexcept override { return false; }
};

class VeskUpdateAppKitPromptWindowsTest : public ::testing::Test {
 protected:
  VeskUpdateAppKitPromptWindowsTest() { [NSApplication sharedApplication]; }
  ~VeskUpdateAppKitPromptWindowsTest() override {
    presenter_.reset();
    testing::runMainRunLoop();
    EXPECT_TRUE(isGone());
  }

  static std::unique_ptr<VeskUpdatePromptPresenter> makePresenter() {
    return std::make_unique<VeskUpdatePromptPresenter>(std::make_shared<VeskUpdateAppKitPromptWindows>(),
                                                       std::make_shared<NoBrowser>());
  }

  static VeskUpdatePromptInput installableInput(bool isManualCheck = true) {
    VeskUpdatePromptInput input =
        promptInput({{"type", "update"}, {"current", "2.1"}, {"app-installer", "https://example.org/archive.zip"}});
    input.isManualCheck = isManualCheck;
    return input;
  }

  void present(const VeskUpdatePromptInput& input) {
    @autoreleasepool {
      presenter_->present(input, [this](const Action& action) {
        actions_.push_back(action);
        if (onAction_) onAction_();
      });
    }
    ASSERT_FALSE(isGone());
  }

  /// The prompt that is on the screen; nil when there is none.
  [[nodiscard]] static NSWindow* onScreen() {
    @autoreleasepool {
      for (NSWindow* window in [NSApp windows]) {
        if ([window isVisible] && [window isKindOfClass:[VeskUpdateAppKitPromptPanel class]]) return window;
      }
      return nil;
    }
  }
  [[nodiscard]] static bool isGone() { return onScreen() == nil; }

  [[nodiscard]] static id part(Class type, std::string_view identifier) {
    @autoreleasepool {
      return veskUpdateProgressDescendant([onScreen() contentView], type, identifier);
    }
  }
  [[nodiscard]] static NSButton* button(std::string_view identifier) { return part([NSButton class], identifier); }
  [[nodiscard]] static std::string text(NSString* text) { return text == nil ? "(nil)" : [text UTF8String]; }
  [[nodiscard]] static std::string label(std::string_view identifier) {
    return text([part([NSTextField class], identifier) stringValue]);
  }
  [[nodiscard]] static std::string title(std::string_view identifier) { return text([button(identifier) title]); }
  [[nodiscard]] static std::string key(std::string_view identifier) { return text([button(identifier) keyEquivalent]); }
  static void click(std::string_view identifier) {
    @autoreleasepool {
      [button(identifier) performClick:nil];
    }
  }
  static void pressCloseControl() {
    @autoreleasepool {
      [onScreen() performClose:nil];
    }
  }

  /// False when no button answers to the key.
  static bool typeKey(NSString* characters) {
    @autoreleasepool {
      NSEvent* const event = [NSEvent keyEventWithType:NSEventTypeKeyDown
                                              location:NSZeroPoint
                                         modifierFlags:0
                                             timestamp:0
                                          windowNumber:[onScreen() windowNumber]
                                               context:nil
                                            characters:characters
                           charactersIgnoringModifiers:characters
                                             isARepeat:NO
                                               keyCode:0];
      return [onScreen() performKeyEquivalent:event] == YES;
    }
  }

  /// Does to the prompt what a user or the host can do, and tells what that reports when it comes first.
  Action act(std::mt19937::result_type kind, const VeskUpdatePromptInput& input) {
    switch (kind) {
      case 0:
        click(Identifiers::installButton);
        return Action::install(input.feed);
      case 1:
        click(Identifiers::remindLaterButton);
        return Action::remindLater("update");
      case 2:
        click(Identifiers::dismissButton);
        return Action::dismissed();
      case 3:
        pressCloseControl();
        return Action::dismissed();
      default:
        presenter_->cancel();
        return Action::dismissed();
    }
  }

  /// GNUstep shows each click for a while; the thousand is done with recorded windows.
  static constexpr int kRandomSequences = 10;

  std::unique_ptr<VeskUpdatePromptPresenter> presenter_ = makePresenter();
  std::vector<Action> actions_;
  std::function<void()> onAction_;
};

TEST_F(VeskUpdateAppKitPromptWindowsTest, TheWindowShowsItsTexts) {
  VeskUpdatePromptInput input = installableInput();
  input.feed.emplace("title", QuillonPropertyListValue(std::string("Example 2.1")));
  present(input);

  EXPECT_EQ(text([onScreen() title]), "Example 2.1");
  EXPECT_EQ(label(Identifiers::titleLabel), "A new version is available!");
  EXPECT_EQ(label(Identifiers::descriptionLabel),
            "Example version 2.1 is now available － you have 2.0. Would you like to download it now?");
  EXPECT_EQ(label(Identifiers::releaseNotesLabel), "Release Notes:");
  EXPECT_EQ(title(Identifiers::installButton), "Install Update");
  EXPECT_EQ(title(Identifiers::remindLaterButton), "Remind Me Later");
  EXPECT_EQ(title(Identifiers::dismissButton), "Skip This Update");
  EXPECT_TRUE(part([NSView class], Identifiers::releaseNotesView) != nil);
}

TEST_F(VeskUpdateAppKitPromptWindowsTest, AnEntryOfTheRunningVersionWithAHigherBuildIsAStabilityUpdate) {
  present(buildOnlyInput());
  EXPECT_EQ(text([onScreen() title]), "Stability Update Available");
  EXPECT_EQ(label(Identifiers::titleLabel), "Stability Update Available");

  VeskUpdatePromptInput withoutBuild = buildOnlyInput();
  withoutBuild.applicationBuild = 0;
  present(withoutBuild);
  EXPECT_EQ(text([onScreen() title]), "News");
}

TEST_F(VeskUpdateAppKitPromptWindowsTest, TheWindowHasACloseControlAndCanBeResizedToTheSmallest) {
  present(installableInput());

  EXPECT_EQ([onScreen() styleMask],
            static_cast<NSUInteger>(NSWindowStyleMaskTitled | NSWindowStyleMaskClosable | NSWindowStyleMaskResizable));
  EXPECT_EQ([onScreen() contentMinSize].width, kSmallestPromptWindow.width);
  EXPECT_EQ([onScreen() contentMinSize].height, kSmallestPromptWindow.height);
  EXPECT_FALSE([onScreen() isReleasedWhenClosed]);
}

TEST_F(VeskUpdateAppKitPromptWindowsTest, EachButtonReportsItsActionAndClosesTheWindow) {
  const VeskUpdatePromptInput input = installableInput();
  const std::vector<std::pair<std::string_view, Action>> table = {
      {Identifiers::installButton, Action::install(input.feed)},
      {Identifiers::remindLaterButton, Action::remindLater("update")},
      {Identifiers::dismissButton, Action::dismissed()}};

  for (const auto& [pressed, action] : table) {
    actions_.clear();
    present(input);
    click(pressed);
    EXPECT_THAT(actions_, ElementsAre(action));
    EXPECT_TRUE(isGone());
  }
}

TEST_F(VeskUpdateAppKitPromptWindowsTest, TheCloseControlDismissesOnce) {
  present(installableInput());

  pressCloseControl();

  EXPECT_THAT(actions_, ElementsAre(Action::dismissed()));
  EXPECT_TRUE(isGone());
}

TEST_F(VeskUpdateAppKitPromptWindowsTest, AButtonFollowedByTheCloseReportsTheButtonOnly) {
  const VeskUpdatePromptInput input = installableInput();
  onAction_ = [] { pressCloseControl(); };
  present(input);

  click(Identifiers::installButton);

  EXPECT_THAT(actions_, ElementsAre(Action::install(input.feed)));
  EXPECT_TRUE(isGone());
}

TEST_F(VeskUpdateAppKitPromptWindowsTest, ExactlyOneActionIsReportedWhateverTheOrderOfClicksAndCloses) {
  std::mt19937 random(20240615);
  const VeskUpdatePromptInput input = installableInput();
  for (int sequence = 0; sequence < kRandomSequences; ++sequence) {
    SCOPED_TRACE(sequence);
    actions_.clear();
    present(input);
    std::optional<Action> first;
    const auto length = 1 + random() % 6;
    for (std::mt19937::result_type step = 0; step < length; ++step) {
      const Action expected = act(random() % 5, input);
      if (!first) first = expected;
    }
    ASSERT_THAT(actions_, ElementsAre(*first));
    ASSERT_TRUE(isGone());
  }
}

TEST_F(VeskUpdateAppKitPromptWindowsTest, APromptThatFollowsAnotherDismissesIt) {
  present(installableInput());

  present(buildOnlyInput());

  EXPECT_THAT(actions_, ElementsAre(Action::dismissed()));
  EXPECT_EQ(text([onScreen() title]), "Stability Update Available");
}

TEST_F(VeskUpdateAppKitPromptWindowsTest, TheReturnKeyInstallsWhereTheUserAskedForTheCheck) {
  const VeskUpdatePromptInput input = installableInput();
  present(input);
  EXPECT_EQ(key(Identifiers::installButton), "\r");
  EXPECT_EQ(key(Identifiers::remindLaterButton), "\033");
  EXPECT_EQ(key(Identifiers::dismissButton), "");

  EXPECT_TRUE(typeKey(@"\r"));

  EXPECT_THAT(actions_, ElementsAre(Action::install(input.feed)));
}

TEST_F(VeskUpdateAppKitPromptWindowsTest, EscapeRemindsLater) {
  present(installableInput());
  EXPECT_TRUE(typeKey(@"\033"));
  EXPECT_THAT(actions_, ElementsAre(Action::remindLater("update")));

  // What AppKit makes of the key where no button answers to it.
  actions_.clear();
  present(installableInput());
  [onScreen() cancelOperation:nil];
  EXPECT_THAT(actions_, ElementsAre(Action::remindLater("update")));
}

TEST_F(VeskUpdateAppKitPromptWindowsTest, WhoIsTypingInstallsNothingByAccident) {
  present(installableInput(false));

  for (NSString* characters : {@"\r", @" "}) EXPECT_FALSE(typeKey(characters));
  EXPECT_THAT(actions_, IsEmpty());
  EXPECT_TRUE(typeKey(@"\033"));

  EXPECT_THAT(actions_, ElementsAre(Action::remindLater("update")));
}

TEST_F(VeskUpdateAppKitPromptWindowsTest, WithoutAnArchiveThereIsNoInstallButtonAndTheReturnKeyReminds) {
  VeskUpdatePromptInput input = promptInput();
  input.isManualCheck = true;
  present(input);
  EXPECT_TRUE(button(Identifiers::installButton) == nil);

  EXPECT_TRUE(typeKey(@"\r"));

  EXPECT_THAT(actions_, ElementsAre(Action::remindLater("update")));
}

TEST_F(VeskUpdateAppKitPromptWindowsTest, TheHostMayKeepTheInstallButtonBack) {
  VeskUpdatePromptInput input = installableInput();
  input.allowInstallAction = false;
  present(input);

  EXPECT_TRUE(button(Identifiers::installButton) == nil);
  EXPECT_TRUE(button(Identifiers::dismissButton) != nil);
}

TEST_F(VeskUpdateAppKitPromptWindowsTest, TheHandlerMayDestroyThePresenterInAnyCallback) {
  const std::vector<std::function<void()>> endings = {
      [] { click(Identifiers::installButton); }, [] { click(Identifiers::dismissButton); },
      [] { (void)typeKey(@"\033"); }, [] { pressCloseControl(); }, [this] { presenter_->cancel(); }};

  for (const auto& ending : endings) {
    presenter_ = makePresenter();
    actions_.clear();
    onAction_ = [this] { presenter_.reset(); };
    present(installableInput());
    ending();
    EXPECT_EQ(actions_.size(), 1U);
    EXPECT_TRUE(isGone());
    testing::runMainRunLoop();
  }
}

TEST_F(VeskUpdateAppKitPromptWindowsTest, APresenterThatGoesTakesItsWindowAndReportsNothing) {
  present(installableInput());

  presenter_.reset();

  EXPECT_TRUE(isGone());
  EXPECT_THAT(actions_, IsEmpty());
}

TEST_F(VeskUpdateAppKitPromptWindowsTest, TheHandlerMayRunAnAlertWhenThePresenterIsGone) {
  // The alert gives the run loop turns while the click that led to it is still being handled.
  QuillonAppleMainThread mainThread;
  VeskUpdateAlert alert;
  alert.buttons = {"OK"};
  bool didAnswer = false;
  onAction_ = [&] {
    presenter_.reset();
    mainThread.post([] { [NSApp abortModal]; });
    (void)VeskUpdateAppKitAlertRunner().run(alert);
    didAnswer = true;
  };
  present(installableInput());

  click(Identifiers::installButton);

  EXPECT_TRUE(didAnswer);
  EXPECT_TRUE(isGone());
}

TEST_F(VeskUpdateAppKitPromptWindowsTest, AnySizeThatAnEntryAsksForGivesAUsableWindow) {
  const NSSize screen = [[NSScreen mainScreen] visibleFrame].size;
  for (const char* size : {"{0, 0}", "{-1, 9e9}", "garbage", "{nan, inf}", "{1e400, 1}", "{520, 480}"}) {
    present(promptInput({{"current", "2.1"}, {"size", size}}));
    const NSSize content = [[onScreen() contentView] frame].size;
    EXPECT_GE(content.width, kSmallestPromptWindow.width) << size;
    EXPECT_LE(content.width, screen.width) << size;
    EXPECT_GE(content.height, kSmallestPromptWindow.height) << size;
    EXPECT_LE(content.height, screen.height) << size;
  }
  EXPECT_EQ([[onScreen() contentView] frame].size.width, 520);
  EXPECT_EQ([[onScreen() contentView] frame].size.height, 480);
}

TEST_F(VeskUpdateAppKitPromptWindowsTest, HostileTextsAreShownAsTextInOneLine) {
  present(promptInput({{"current", "<i>2.1</i> &amp;"}, {"title", "<b>bold</b>\n&amp; _x"}}));

  EXPECT_EQ(text([onScreen() title]), "<b>bold</b> &amp; _x");
  EXPECT_THAT(label(Identifiers::descriptionLabel),
              ::testing::StartsWith("Example version <i>2.1</i> &amp; is now available"));
}

TEST_F(VeskUpdateAppKitPromptWindowsTest, TheApplicationsImageIsShownWhereThereIsOne) {
  NSImage* const image = autoreleased([[NSImage alloc] initWithSize:NSMakeSize(8, 8)]);
  [image setName:@"ExampleLogo"];
  present(promptInput());
  NSImageView* logo = part([NSImageView class], Identifiers::logoImage);
  EXPECT_FALSE([logo isHidden]);
  EXPECT_TRUE([logo image] == image);

  VeskUpdatePromptInput input = promptInput();
  input.applicationLogoImageName = "NoSuchLogo";
  present(input);
  logo = part([NSImageView class], Identifiers::logoImage);
  EXPECT_TRUE([logo isHidden]);
}

}  // namespace
}  // namespace quillon
