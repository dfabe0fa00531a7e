#import "QuillonUpdatesAppKitUI/Presentation/Apple/VeskUpdateProgressActionButton.h"

#include <utility>

@implementation VeskUpdateProgressActionButton

- (instancetype)initWithFrame:(NSRect)frame {
  self = [super initWithFrame:frame];
  if (self != nil) {
    // A target is not kept by its control, so that this is no circle.
    [self setTarget:self];
    [self setAction:@selector(buttonPressed:)];
  }
  return self;
}

- (void)setActionHandler:(std::function<void()>)actionHandler {
  actionHandler_ = std::move(actionHandler);
}

- (void)buttonPressed:(id)sender {
  (void)sender;
  [self setEnabled:NO];
  // A copy: the handler may set another one, or let this button go.
  const std::function<void()> handler = actionHandler_;
  if (handler) handler();
}

@end
