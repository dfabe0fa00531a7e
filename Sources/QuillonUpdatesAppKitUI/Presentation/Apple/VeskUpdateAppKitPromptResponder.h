#pragma once

#import <AppKit/AppKit.h>

#include <functional>

#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdatePromptWindow.h"

/// The target of a prompt's buttons, and the delegate of its window.
@interface VeskUpdateAppKitPromptResponder : NSObject <NSWindowDelegate> {
  std::function<void(quillon::VeskUpdatePromptButton)> press_;
  std::function<void()> close_;
}

- (instancetype)init NS_UNAVAILABLE;
/// Both may let this object go. They must not throw.
- (instancetype)initWithPress:(std::function<void(quillon::VeskUpdatePromptButton)>)press
                        close:(std::function<void()>)close NS_DESIGNATED_INITIALIZER;
/// Nobody hears of anything any more.
- (void)disconnect;

- (void)installButtonPressed:(id)sender;
- (void)remindLaterButtonPressed:(id)sender;
- (void)dismissButtonPressed:(id)sender;

@end

/// The window of a prompt: the Escape key presses the button that reminds.
@interface VeskUpdateAppKitPromptPanel : NSWindow
@end
