#import "Apple/SampleApplicationDelegate.h"

#include <utility>

#import "QuillonCore/Runtime/Apple/QuillonAppleMainThread.h"
#import "QuillonCore/Runtime/Apple/QuillonFoundationConversion.h"
#import "QuillonCore/Runtime/Apple/QuillonObjectReference.h"
#include "QuillonUpdatesAppKitUI/Presentation/Apple/VeskUpdateAppKitAlertRunner.h"
#include "QuillonUpdatesAppKitUI/Presentation/Apple/VeskUpdateAppKitProgressWindows.h"
#include "QuillonUpdatesAppKitUI/Presentation/Apple/VeskUpdateAppKitPromptWindows.h"

using quillon::autoreleased;

namespace {

sample::UpdateWindows makeWindows() {
  return {.mainThread = std::make_shared<quillon::QuillonAppleMainThread>(),
          .progressWindows = std::make_shared<quillon::VeskUpdateAppKitProgressWindows>(),
          .prompts = std::make_shared<quillon::VeskUpdateAppKitPromptWindows>(),
          .alerts = std::make_shared<quillon::VeskUpdateAppKitAlertRunner>(),
          .logoImageName = quillon::fromNSString(NSImageNameApplicationIcon).value_or("")};
}

/// The items without a target go to who responds to them: the delegate, and the application itself.
NSMenu* makeMenu() {
  NSMenu* const items = autoreleased([[NSMenu alloc] init]);
  [items addItemWithTitle:@"Check for Updates…" action:@selector(checkForUpdates:) keyEquivalent:@""];
  [items addItemWithTitle:@"Use Beta Versions" action:@selector(toggleBetas:) keyEquivalent:@""];
  [items addItem:[NSMenuItem separatorItem]];
  [items addItemWithTitle:@"Quit" action:@selector(terminate:) keyEquivalent:@"q"];
  NSMenu* const bar = autoreleased([[NSMenu alloc] init]);
  [bar setSubmenu:items forItem:[bar addItemWithTitle:@"" action:nil keyEquivalent:@""]];
  return bar;
}

/// The caller owns it.
NSWindow* newWindow(const sample::HostInformation& host) {
  constexpr NSRect kContent = {{0, 0}, {480, 240}};
  NSWindow* const window = [[NSWindow alloc] initWithContentRect:kContent
                                                       styleMask:NSWindowStyleMaskTitled | NSWindowStyleMaskClosable
                                                         backing:NSBackingStoreBuffered
                                                           defer:NO];
  [window setReleasedWhenClosed:NO];
  [window setTitle:quillon::toNSString(host.name)];
  [window setContentView:[NSTextField labelWithString:quillon::toNSString(host.name + ' ' + host.version)]];
  [window center];
  return window;
}

}  // namespace

@implementation SampleApplicationDelegate

- (instancetype)initWithHost:(const sample::HostInformation&)host {
  self = [super init];
  if (self != nil) host_ = std::make_unique<const sample::HostInformation>(host);
  return self;
}

- (void)applicationDidFinishLaunching:(NSNotification*)notification {
  (void)notification;
  const sample::UpdateCallbacks callbacks{.quit = [] { [NSApp terminate:nil]; },
                                          // The menu asks whenever it opens.
                                          .checksForBetasDidChange = [](bool) {}};
  updater_ = std::make_shared<sample::SampleUpdater>(*host_, makeWindows(), callbacks);
  [NSApp setMainMenu:makeMenu()];
  window_ = newWindow(*host_);
  [window_ makeKeyAndOrderFront:nil];
  [NSApp activateIgnoringOtherApps:YES];
  updater_->start();
}

- (BOOL)applicationShouldHandleReopen:(NSApplication*)application hasVisibleWindows:(BOOL)hasVisibleWindows {
  (void)application;
  if (!hasVisibleWindows) [window_ makeKeyAndOrderFront:nil];
  return YES;
}

- (BOOL)applicationSupportsSecureRestorableState:(NSApplication*)application {
  (void)application;
  return YES;
}

- (void)applicationWillTerminate:(NSNotification*)notification {
  (void)notification;
  updater_.reset();  // what its thread is at ends before the process
}

- (BOOL)validateMenuItem:(NSMenuItem*)item {
  if ([item action] == @selector(toggleBetas:)) {
    [item setState:updater_->checksForBetas() ? NSControlStateValueOn : NSControlStateValueOff];
  }
  return YES;
}

- (void)checkForUpdates:(id)sender {
  (void)sender;
  updater_->checkForUpdates();
}

- (void)toggleBetas:(id)sender {
  (void)sender;
  updater_->setChecksForBetas(!updater_->checksForBetas());
}

#if !__has_feature(objc_arc)
- (void)dealloc {
  [window_ release];
  [super dealloc];
}
#endif

@end
