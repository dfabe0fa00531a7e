#pragma once

#import <AppKit/AppKit.h>

#include <functional>

/// A push button that can be pressed once: a press disables it, and then calls its handler.
@interface VeskUpdateProgressActionButton : NSButton {
  std::function<void()> actionHandler_;
}

/// Called when the button is pressed, if there is one. It may let the button go. Must not throw.
- (void)setActionHandler:(std::function<void()>)actionHandler;

@end
