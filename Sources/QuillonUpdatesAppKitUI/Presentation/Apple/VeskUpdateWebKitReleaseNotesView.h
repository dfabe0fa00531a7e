#pragma once

#import <AppKit/AppKit.h>
#import <WebKit/WebKit.h>

#include <functional>
#include <optional>

#include "QuillonCore/Values/QuillonURL.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdatePromptNavigation.h"

/// A page in a window, or a placeholder where there is none, or none that can be loaded. Nothing that the page stores
/// outlives this view, its scripts do not run unless they are allowed, and a failed load leaves what is shown.
@interface VeskUpdateWebKitReleaseNotesView : NSView <WKNavigationDelegate> {
  std::function<bool(const quillon::VeskUpdatePromptNavigation&)> shouldNavigate_;
  WKWebView* webView_;
}

- (instancetype)initWithFrame:(NSRect)frame NS_UNAVAILABLE;
- (instancetype)initWithCoder:(NSCoder*)coder NS_UNAVAILABLE;
/// `shouldNavigate` says whether the page may go there. It may close the window around the view.
- (instancetype)initAllowingScripts:(BOOL)allowsScripts
                     shouldNavigate:(std::function<bool(const quillon::VeskUpdatePromptNavigation&)>)shouldNavigate
    NS_DESIGNATED_INITIALIZER;

/// Loads `page`; without one the placeholder stays.
- (void)loadPage:(const std::optional<quillon::QuillonURL>&)page;
/// Ends what is loading; nobody is asked any more.
- (void)stop;

@end
