// Declarations of what this project calls of WebKit, for building where the framework's headers are missing. On a Mac
// the real ones are used.
#pragma once

#import <AppKit/AppKit.h>

NS_ASSUME_NONNULL_BEGIN

@class WKNavigation;
@class WKWebView;

typedef NS_ENUM(NSInteger, WKNavigationActionPolicy) {
  WKNavigationActionPolicyCancel,
  WKNavigationActionPolicyAllow,
} API_AVAILABLE(macos(10.10));

typedef NS_ENUM(NSInteger, WKNavigationResponsePolicy) {
  WKNavigationResponsePolicyCancel,
  WKNavigationResponsePolicyAllow,
} API_AVAILABLE(macos(10.10));

typedef NS_ENUM(NSInteger, WKNavigationType) {
  WKNavigationTypeLinkActivated,
  WKNavigationTypeFormSubmitted,
  WKNavigationTypeBackForward,
  WKNavigationTypeReload,
  WKNavigationTypeFormResubmitted,
  WKNavigationTypeOther = -1,
} API_AVAILABLE(macos(10.10));

@interface WKFrameInfo : NSObject
@property(nonatomic, readonly, getter=isMainFrame) BOOL mainFrame;
@end

@interface WKNavigationAction : NSObject
@property(nullable, nonatomic, readonly, copy) WKFrameInfo* targetFrame;
@property(nonatomic, readonly) WKNavigationType navigationType;
@property(nonatomic, readonly, copy) NSURLRequest* request;
@end

@interface WKNavigationResponse : NSObject
@property(nonatomic, readonly, getter=isForMainFrame) BOOL forMainFrame;
@property(nonatomic, readonly, copy) NSURLResponse* response;
@property(nonatomic, readonly) BOOL canShowMIMEType;
@end

@protocol WKNavigationDelegate <NSObject>
@optional
- (void)webView:(WKWebView*)webView
    decidePolicyForNavigationAction:(WKNavigationAction*)navigationAction
                    decisionHandler:(void (^)(WKNavigationActionPolicy))decisionHandler;
- (void)webView:(WKWebView*)webView
    decidePolicyForNavigationResponse:(WKNavigationResponse*)navigationResponse
                      decisionHandler:(void (^)(WKNavigationResponsePolicy))decisionHandler;
- (void)webView:(WKWebView*)webView didCommitNavigation:(null_unspecified WKNavigation*)navigation;
- (void)webViewWebContentProcessDidTerminate:(WKWebView*)webView API_AVAILABLE(macos(10.11));
@end

@interface WKWebpagePreferences : NSObject
@property(nonatomic) BOOL allowsContentJavaScript API_AVAILABLE(macos(11.0));
@end

@interface WKWebsiteDataStore : NSObject
+ (WKWebsiteDataStore*)nonPersistentDataStore;
@end

@interface WKWebViewConfiguration : NSObject <NSCopying>
@property(nonatomic, strong) WKWebsiteDataStore* websiteDataStore API_AVAILABLE(macos(10.11));
@property(null_resettable, nonatomic, copy) WKWebpagePreferences* defaultWebpagePreferences API_AVAILABLE(macos(10.15));
@end

@interface WKWebView : NSView
@property(nullable, nonatomic, weak) id<WKNavigationDelegate> navigationDelegate;
@property(nullable, nonatomic, readonly, copy) NSURL* URL;
@property(nonatomic) BOOL allowsLinkPreview API_AVAILABLE(macos(10.11));
- (instancetype)initWithFrame:(CGRect)frame
                configuration:(WKWebViewConfiguration*)configuration NS_DESIGNATED_INITIALIZER;
- (nullable instancetype)initWithCoder:(NSCoder*)coder NS_DESIGNATED_INITIALIZER;
- (nullable WKNavigation*)loadRequest:(NSURLRequest*)request;
- (nullable WKNavigation*)loadFileURL:(NSURL*)url
              allowingReadAccessToURL:(NSURL*)readAccessURL API_AVAILABLE(macos(10.11));
- (void)stopLoading;
@end

NS_ASSUME_NONNULL_END
