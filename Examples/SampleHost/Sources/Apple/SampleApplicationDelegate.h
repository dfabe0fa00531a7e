#pragma once

#import <AppKit/AppKit.h>

#include <memory>

#include "HostInformation.h"
#include "SampleUpdater.h"

/// The window of an application that does nothing but say which version it is, and the menu.
@interface SampleApplicationDelegate : NSObject <NSApplicationDelegate, NSMenuItemValidation> {
  std::unique_ptr<const sample::HostInformation> host_;
  std::shared_ptr<sample::SampleUpdater> updater_;
  NSWindow* window_;
}

- (instancetype)init NS_UNAVAILABLE;
- (instancetype)initWithHost:(const sample::HostInformation&)host NS_DESIGNATED_INITIALIZER;

- (void)checkForUpdates:(id)sender;
- (void)toggleBetas:(id)sender;

@end
