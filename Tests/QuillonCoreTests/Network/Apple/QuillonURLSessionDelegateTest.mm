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
