#import <Foundation/Foundation.h>
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>

#import "QuillonCore/Network/Apple/QuillonURLSessionConversion.h"
#import "QuillonCore/Network/Apple/QuillonURLSessionDelegate.h"
#import "QuillonCore/Runtime/Apple/QuillonObjectReference.h"
#include "Support/CannedWebServer.h"
#include "Support/RecordingURLReceiver.h"
#include "Support/ThrownURLError.h"

/// Notes that it is cancelled, and does nothing else of a task.
@interface CancellableTask : NSObject {
  BOOL isCancelled_;
}
- (void)cancel;
- (BOOL)isCancelled;
@end

@implementation CancellableTask

- (void)cancel {
  isCancelled_ = YES;
}

- (BOOL)isCancelled {
  return isCancelled_;
}

@end

namespace quillon {
namespace {

using Delegate = QuillonObjectReference<QuillonURLSessionDelegate>;

Delegate delegateOf(const std::shared_ptr<QuillonURLSessionTransfer>& transfer) {
  return Delegate::adopt([[QuillonURLSessionDelegate alloc] initWithTransfer:transfer]);
}

TEST(QuillonURLSessionDelegateTest, AResponseThatCannotBeReadCountsAsNoneAndTheTransferGoesOn) {
  @autoreleasepool {
    testing::RecordingURLReceiver receiver;
    const QuillonURLRequest request{.url = QuillonURL::parse("https://example.com/").value()};
    const auto transfer = std::make_shared<QuillonURLSessionTransfer>(request, receiver);
    NSURLSession* const session = [NSURLSession sharedSession];
    NSURLResponse* const response = autoreleased([[NSURLResponse alloc] initWithURL:[NSURL URLWithString:@"feed"]
                                                                           MIMEType:nil
                                                              expectedContentLength:4
                                                                   textEncodingName:nil]);
    __block NSURLSessionResponseDisposition disposition = NSURLSessionResponseCancel;

    [delegateOf(transfer).get() URLSession:session
                                  dataTask:[session dataTaskWithRequest:toNSURLRequest(request)]
                        didReceiveResponse:response
                         completionHandler:^(NSURLSessionResponseDisposition answer) {
                           disposition = answer;
                         }];

    EXPECT_EQ(disposition, NSURLSessionResponseAllow);
    EXPECT_FALSE(receiver.response);
  }
}

TEST(QuillonURLSessionDelegateTest, ARedirectThatFoundationCannotFollowEndsTheTransfer) {
  @autoreleasepool {
    testing::RecordingURLReceiver receiver;
    const QuillonURLRequest request{.url = QuillonURL::parse("https://example.com/").value(),
                                    .headerFields = {{"Accept", "\xff"}}};
    const auto transfer = std::make_shared<QuillonURLSessionTransfer>(request, receiver);
    const auto task = QuillonObjectReference<CancellableTask>::adopt([[CancellableTask alloc] init]);
    NSURL* const asked = [NSURL URLWithString:@"https://example.com/"];
    NSURL* const location = [NSURL URLWithString:@"https://example.com/moved"];
    NSHTTPURLResponse* const response = autoreleased([[NSHTTPURLResponse alloc] initWithURL:asked
                                                                                 statusCode:302
                                                                                HTTPVersion:nil
                                                                               headerFields:nil]);
    __block bool isFollowed = true;

    [delegateOf(transfer).get() URLSession:[NSURLSession sharedSession]
                                      task:(NSURLSessionTask*)(id)task.get()
                willPerformHTTPRedirection:response
                                newRequest:[NSURLRequest requestWithURL:location]
                         completionHandler:^(NSURLRequest* following) {
                           isFollowed = following != nil;
                         }];
    transfer->didFinish();

    EXPECT_FALSE(isFollowed);
    EXPECT_TRUE([task.get() isCancelled]);
    const auto error = testing::thrownURLError([&] { transfer->wait(); });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code(), QuillonURLErrorCode::badURL);
  }
}

TEST(QuillonURLSessionDelegateTest, TheSessionLetsItGoWhenTheTransferIsOver) {
  const testing::CannedWebServer server({{"/feed", "feed"}});
  testing::RecordingURLReceiver receiver;
  const QuillonURLRequest request{.url = server.url("/feed")};
  std::promise<void> isGone;
  @autoreleasepool {
    const std::shared_ptr<QuillonURLSessionTransfer> transfer(new QuillonURLSessionTransfer(request, receiver),
                                                              [&isGone](const QuillonURLSessionTransfer* held) {
                                                                delete held;
                                                                isGone.set_value();
                                                              });
    NSURLSession* const session =
        [NSURLSession sessionWithConfiguration:[NSURLSessionConfiguration defaultSessionConfiguration]
                                      delegate:delegateOf(transfer).get()
                                 delegateQueue:nil];
    [[session dataTaskWithRequest:toNSURLRequest(request)] resume];
    transfer->wait();
  }

  EXPECT_EQ(receiver.body, "feed");
  EXPECT_EQ(isGone.get_future().wait_for(std::chrono::seconds(30)), std::future_status::ready);
}

}  // namespace
}  // namespace quillon
