// A host application for macOS that looks for updates of itself when it is started, and at "Check for Updates…". The
// feed is named by SampleFeedURL in its Info.plist, or by the argument -SampleFeedURL.

#import <AppKit/AppKit.h>

#include <memory>

#import "QuillonCore/Runtime/Apple/QuillonFoundationConversion.h"
#import "QuillonCore/Runtime/Apple/QuillonObjectReference.h"
#include "SampleUpdater.h"

@interface SampleApplicationDelegate : NSObject <NSApplicationDelegate> {
  std::unique_ptr<SampleUpdater> updater_;
}
- (void)checkForUpdates:(id)sender;
@end

namespace {

using quillon::autoreleased;

NSString* feedAddress() {
  NSString* const argument = [[NSUserDefaults standardUserDefaults] stringForKey:@"SampleFeedURL"];
  return argument != nil ? argument : [[NSBundle mainBundle] objectForInfoDictionaryKey:@"SampleFeedURL"];
}

NSMenu* makeMenu(id target) {
  NSMenu* const menu = autoreleased([[NSMenu alloc] init]);
  [[menu addItemWithTitle:@"Check for Updates…" action:@selector(checkForUpdates:) keyEquivalent:@""] setTarget:target];
  [menu addItem:[NSMenuItem separatorItem]];
  [menu addItemWithTitle:@"Quit" action:@selector(terminate:) keyEquivalent:@"q"];
  NSMenu* const bar = autoreleased([[NSMenu alloc] init]);
  [bar setSubmenu:menu forItem:[bar addItemWithTitle:@"" action:nil keyEquivalent:@""]];
  return bar;
}

}  // namespace

@implementation SampleApplicationDelegate

- (void)applicationDidFinishLaunching:(NSNotification*)notification {
  (void)notification;
  [NSApp setMainMenu:makeMenu(self)];
  const auto bundle = quillon::fromNSURL([[NSBundle mainBundle] bundleURL]);
  const auto feed = quillon::QuillonURL::parse(quillon::fromNSString(feedAddress()).value_or(""));
  if (!bundle || !feed) return;
  updater_ = std::make_unique<SampleUpdater>(*bundle, *feed, [] { [NSApp terminate:nil]; });
  [self checkForUpdates:nil];
}

- (void)checkForUpdates:(id)sender {
  (void)sender;
  if (updater_) updater_->check();
}

@end

int main() {
  @autoreleasepool {
    NSApplication* const application = [NSApplication sharedApplication];
    const auto delegate =
        quillon::QuillonObjectReference<SampleApplicationDelegate>::adopt([[SampleApplicationDelegate alloc] init]);
    [application setDelegate:delegate.get()];
    [application setActivationPolicy:NSApplicationActivationPolicyRegular];
    [application run];
  }
  return 0;
}
