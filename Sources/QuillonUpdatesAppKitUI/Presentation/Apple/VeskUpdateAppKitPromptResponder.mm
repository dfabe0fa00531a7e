#import "QuillonUpdatesAppKitUI/Presentation/Apple/VeskUpdateAppKitPromptResponder.h"

#include <utility>

using quillon::VeskUpdatePromptButton;

@implementation VeskUpdateAppKitPromptResponder

- (instancetype)initWithPress:(std::function<void(VeskUpdatePromptButton)>)press close:(std::function<void()>)close {
  self = [super init];
  if (self != nil) {
    press_ = std::move(press);
    close_ = std::move(close);
  }
  return self;
}

- (void)disconnect {
  press_ = nullptr;
  close_ = nullptr;
}

- (void)press:(VeskUpdatePromptButton)button {
  const auto press = press_;  // a copy: it may take itself away
  if (press) press(button);
}

- (void)installButtonPressed:(id)sender {
  (void)sender;
  [self press:VeskUpdatePromptButton::install];
}

- (void)remindLaterButtonPressed:(id)sender {
  (void)sender;
  [self press:VeskUpdatePromptButton::remindLater];
}

- (void)dismissButtonPressed:(id)sender {
  (void)sender;
  [self press:VeskUpdatePromptButton::dismiss];
}

- (void)windowWillClose:(NSNotification*)notification {
  (void)notification;
  const auto close = close_;
  if (close) close();
}

@end

@implementation VeskUpdateAppKitPromptPanel

- (void)cancelOperation:(id)sender {
  [NSApp sendAction:@selector(remindLaterButtonPressed:) to:[self delegate] from:sender];
}

@end
