#include "RecordingReleaseNotesView.h"

#include <utility>

#import "QuillonUpdatesAppKitUI/Presentation/Apple/VeskUpdateWebKitReleaseNotesView.h"

using quillon::VeskUpdatePromptNavigation;
using quillon::testing::releaseNotesCalls;

namespace {

/// Not owned; nil when it is gone.
VeskUpdateWebKitReleaseNotesView* lastView = nil;

}  // namespace

@interface VeskUpdateWebKitReleaseNotesView (Recording)
- (bool)navigate:(const VeskUpdatePromptNavigation&)navigation;
@end

@implementation VeskUpdateWebKitReleaseNotesView

- (instancetype)initAllowingScripts:(BOOL)allowsScripts
                     shouldNavigate:(std::function<bool(const VeskUpdatePromptNavigation&)>)shouldNavigate {
  self = [super initWithFrame:NSZeroRect];
  if (self != nil) {
    shouldNavigate_ = std::move(shouldNavigate);
    lastView = self;
    releaseNotesCalls().push_back(allowsScripts ? "scripts allowed" : "scripts denied");
  }
  return self;
}

- (void)dealloc {
  if (lastView == self) lastView = nil;
  releaseNotesCalls().push_back("gone");
  [super dealloc];
}

- (void)loadPage:(const std::optional<quillon::QuillonURL>&)page {
  releaseNotesCalls().push_back(page ? "load " + page->absoluteString() : "load");
}

- (void)stop {
  shouldNavigate_ = nullptr;
  releaseNotesCalls().push_back("stop");
}

- (bool)navigate:(const VeskUpdatePromptNavigation&)navigation {
  const auto shouldNavigate = shouldNavigate_;
  return shouldNavigate && shouldNavigate(navigation);
}

@end

namespace quillon::testing {

std::vector<std::string>& releaseNotesCalls() {
  static std::vector<std::string> calls;
  return calls;
}

bool navigateReleaseNotes(const VeskUpdatePromptNavigation& navigation) { return [lastView navigate:navigation]; }

}  // namespace quillon::testing
