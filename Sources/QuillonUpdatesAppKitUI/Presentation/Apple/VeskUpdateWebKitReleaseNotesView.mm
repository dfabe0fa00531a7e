#import "QuillonUpdatesAppKitUI/Presentation/Apple/VeskUpdateWebKitReleaseNotesView.h"

#include <utility>

#import "QuillonCore/Runtime/Apple/QuillonFoundationConversion.h"
#import "QuillonCore/Runtime/Apple/QuillonObjectReference.h"

using quillon::VeskUpdatePromptNavigation;
using quillon::VeskUpdatePromptNavigationAnswer;

/// A web view without its own menu, where "Open Link" goes to the link as if no user had asked for it.
@interface VeskUpdateReleaseNotesWebView : WKWebView
@end

@implementation VeskUpdateReleaseNotesWebView

- (void)willOpenMenu:(NSMenu*)menu withEvent:(NSEvent*)event {
  (void)event;
  [menu removeAllItems];
}

@end

namespace {

constexpr CGFloat kPlaceholderSize = 48;  // points

WKWebView* makeWebView(BOOL allowsScripts) {
  WKWebViewConfiguration* const configuration = quillon::autoreleased([[WKWebViewConfiguration alloc] init]);
  [configuration setWebsiteDataStore:[WKWebsiteDataStore nonPersistentDataStore]];
  [[configuration defaultWebpagePreferences] setAllowsContentJavaScript:allowsScripts];
  WKWebView* const webView = quillon::autoreleased([[VeskUpdateReleaseNotesWebView alloc] initWithFrame:NSZeroRect
                                                                                          configuration:configuration]);
  [webView setAllowsLinkPreview:NO];  // a preview leads to its link in the same way
  return webView;
}

NSView* makePlaceholder() {
  NSImageView* const view = quillon::autoreleased([[NSImageView alloc] initWithFrame:NSZeroRect]);
  NSImageSymbolConfiguration* const size = [NSImageSymbolConfiguration configurationWithPointSize:kPlaceholderSize
                                                                                           weight:NSFontWeightRegular];
  [view setImage:[[NSImage imageWithSystemSymbolName:@"doc.text"
                            accessibilityDescription:nil] imageWithSymbolConfiguration:size]];
  [view setContentTintColor:[NSColor tertiaryLabelColor]];
  [view setAccessibilityElement:NO];
  [view setAutoresizingMask:NSViewWidthSizable | NSViewHeightSizable];
  return view;
}

/// Absent when the navigation leads to what is no URL.
std::optional<VeskUpdatePromptNavigation> navigationOf(WKNavigationAction* action) {
  NSURL* const location = [[action request] URL];
  VeskUpdatePromptNavigation navigation;
  // Scripts follow links in the same way; WebKit does not tell the two apart.
  navigation.isLinkActivated = [action navigationType] == WKNavigationTypeLinkActivated;
  navigation.replacesPage = [[action targetFrame] isMainFrame] == YES;
  if (location == nil) return navigation;
  navigation.url = quillon::fromNSURL(location);
  return navigation.url ? std::optional(navigation) : std::nullopt;
}

VeskUpdatePromptNavigationAnswer answerOf(WKNavigationResponse* navigationResponse) {
  VeskUpdatePromptNavigationAnswer answer{.isPage = [navigationResponse isForMainFrame] == YES,
                                          .canBeShown = [navigationResponse canShowMIMEType] == YES};
  NSURLResponse* const response = [navigationResponse response];
  if ([response isKindOfClass:[NSHTTPURLResponse class]]) {
    answer.httpStatusCode = [static_cast<NSHTTPURLResponse*>(response) statusCode];
  }
  return answer;
}

using ShouldNavigate = std::function<bool(const VeskUpdatePromptNavigation&)>;

/// Asks a copy: the answer may come with the end of the window, which takes the function away.
bool isWanted(const ShouldNavigate& shouldNavigate, WKNavigationAction* action) noexcept {
  const ShouldNavigate asked = shouldNavigate;
  const auto navigation = navigationOf(action);
  return asked && navigation && asked(*navigation);
}

bool isPageAt(NSURL* location) noexcept {
  return location != nil && quillon::isPromptPage(quillon::fromNSURL(location));
}

}  // namespace

@implementation VeskUpdateWebKitReleaseNotesView

- (instancetype)initAllowingScripts:(BOOL)allowsScripts
                     shouldNavigate:(std::function<bool(const VeskUpdatePromptNavigation&)>)shouldNavigate {
  self = [super initWithFrame:NSZeroRect];
  if (self != nil) {
    shouldNavigate_ = std::move(shouldNavigate);
    // A plain view is none of the elements that assistive technology is told of.
    [self setAccessibilityElement:YES];
    [self setAccessibilityRole:NSAccessibilityGroupRole];
    [self addSubview:makePlaceholder()];    // behind the page, which covers it
    webView_ = makeWebView(allowsScripts);  // a subview, which this view keeps
    [webView_ setAutoresizingMask:NSViewWidthSizable | NSViewHeightSizable];
    [webView_ setNavigationDelegate:self];
    [webView_ setHidden:YES];
    [self addSubview:webView_];
  }
  return self;
}

- (void)loadPage:(const std::optional<quillon::QuillonURL>&)page {
  NSURL* const location = page ? quillon::toNSURL(*page) : nil;
  if (location == nil) return;
  if ([location isFileURL]) {
    // Its folder may be anything of the user's: which file it is may come from a feed.
    [webView_ loadFileURL:location allowingReadAccessToURL:location];
  } else {
    [webView_ loadRequest:[NSURLRequest requestWithURL:location]];
  }
}

- (void)stop {
  shouldNavigate_ = nullptr;
  [webView_ stopLoading];
}

- (void)webView:(WKWebView*)webView
    decidePolicyForNavigationAction:(WKNavigationAction*)navigationAction
                    decisionHandler:(void (^)(WKNavigationActionPolicy))decisionHandler {
  (void)webView;
  // There is no other window to go to.
  const bool goesOn = isWanted(shouldNavigate_, navigationAction) && [navigationAction targetFrame] != nil;
  decisionHandler(goesOn ? WKNavigationActionPolicyAllow : WKNavigationActionPolicyCancel);
}

- (void)webView:(WKWebView*)webView
    decidePolicyForNavigationResponse:(WKNavigationResponse*)navigationResponse
                      decisionHandler:(void (^)(WKNavigationResponsePolicy))decisionHandler {
  (void)webView;
  const bool isShown = quillon::showsPromptNavigationAnswer(answerOf(navigationResponse));
  decisionHandler(isShown ? WKNavigationResponsePolicyAllow : WKNavigationResponsePolicyCancel);
}

- (void)webView:(WKWebView*)webView didCommitNavigation:(WKNavigation*)navigation {
  (void)navigation;
  [webView setHidden:!isPageAt([webView URL])];
}

- (void)webViewWebContentProcessDidTerminate:(WKWebView*)webView {
  [webView setHidden:YES];
}

@end
