#pragma once

#import <AppKit/AppKit.h>

// The names that the header of the release notes' view mentions. There is no WebKit here: RecordingReleaseNotesView.mm
// implements the view.

@class WKWebView;

@protocol WKNavigationDelegate <NSObject>
@end
