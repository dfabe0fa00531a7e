#import <Foundation/Foundation.h>
#include <gtest/gtest.h>

#include <chrono>
#include <optional>

#import "QuillonCore/Network/Apple/QuillonURLSessionConversion.h"
#import "QuillonCore/Runtime/Apple/QuillonFoundationConversion.h"
#import "QuillonCore/Runtime/Apple/QuillonObjectReference.h"
#include "Support/RecordingURLReceiver.h"
#include "Support/ThrownURLError.h"

namespace quillon {
namespace {

const QuillonURL kURL = QuillonURL::parse("https://example.com/feed?beta=1").value();

NSHTTPURLResponse* answer(NSInteger status, NSDictionary* fields) {
  return autoreleased([[NSHTTPURLResponse alloc] initWithURL:toNSURL(kURL)
                                                  statusCode:status
                                                 HTTPVersion:@"HTTP/1.1"
                                                headerFields:fields]);
}

/// What a transfer ends with that is told of `error`.
std::optional<QuillonURLError> endWith(NSError* error) {
  testing::RecordingURLReceiver receiver;
  QuillonURLSessionTransfer transfer({.url = kURL}, receiver);
  endTransfer(transfer, error);
  return testing::thrownURLError([&transfer] { transfer.wait(); });
}

NSError* errorOf(NSString* domain, NSInteger code) {
  NSDictionary* const information = [NSDictionary dictionaryWithObject:@"It went wrong"
                                                                forKey:NSLocalizedDescriptionKey];
  return [NSError errorWithDomain:domain code:code userInfo:information];
}

TEST(QuillonURLSessionConversionTest, ARequestIsAGetWithItsURLTimeoutAndFields) {
  @autoreleasepool {
    NSURLRequest* const request =
        toNSURLRequest({.url = kURL, .headerFields = {{"X-Asked", "for"}}, .timeout = std::chrono::milliseconds(1500)});

    EXPECT_EQ(fromNSString([[request URL] absoluteString]), "https://example.com/feed?beta=1");
    EXPECT_EQ(fromNSString([request HTTPMethod]), "GET");
    EXPECT_EQ([request timeoutInterval], 1.5);
    EXPECT_EQ(fromNSString([request valueForHTTPHeaderField:@"X-Asked"]), "for");
  }
}

TEST(QuillonURLSessionConversionTest, AFieldThatIsNoTextMakesNoRequest) {
  @autoreleasepool {
    EXPECT_TRUE(toNSURLRequest({.url = kURL, .headerFields = {{"X-Asked", "\xFF"}}}) == nil);
    EXPECT_TRUE(toNSURLRequest({.url = kURL, .headerFields = {{"\xFF", "for"}}}) == nil);
  }
}

TEST(QuillonURLSessionConversionTest, AnAnswerHasURLStatusAndFields) {
  @autoreleasepool {
    const auto response = fromNSURLResponse(answer(206, [NSDictionary dictionaryWithObject:@"yes"
                                                                                    forKey:@"X-Quillon"]));

    ASSERT_TRUE(response);
    EXPECT_EQ(response->url, kURL);
    EXPECT_EQ(response->httpStatusCode, 206);
    EXPECT_EQ(response->valueForHeaderField("x-quillon"), "yes");
  }
}

TEST(QuillonURLSessionConversionTest, ALengthThatIsNotAnnouncedIsMinusOne) {
  @autoreleasepool {
    EXPECT_EQ(fromNSURLResponse(answer(200, [NSDictionary dictionary]))->expectedContentLength, -1);
  }
}

TEST(QuillonURLSessionConversionTest, AResponseThatIsNotHTTPHasNoStatus) {
  @autoreleasepool {
    const auto response = fromNSURLResponse(autoreleased([[NSURLResponse alloc] initWithURL:toNSURL(kURL)
                                                                                   MIMEType:nil
                                                                      expectedContentLength:5
                                                                           textEncodingName:nil]));

    ASSERT_TRUE(response);
    EXPECT_FALSE(response->httpStatusCode);
    EXPECT_EQ(response->expectedContentLength, 5);
  }
}

TEST(QuillonURLSessionConversionTest, AResponseWithoutAURLIsNone) {
  @autoreleasepool {
    NSURL* const relative = [NSURL URLWithString:@"feed"];

    EXPECT_FALSE(fromNSURLResponse(nil));
    EXPECT_FALSE(fromNSURLResponse(autoreleased([[NSURLResponse alloc] initWithURL:relative
                                                                          MIMEType:nil
                                                             expectedContentLength:5
                                                                  textEncodingName:nil])));
  }
}

TEST(QuillonURLSessionConversionTest, CodesOfTheURLLoadingSystemAreHandedOnAndOthersAreUnknown) {
  @autoreleasepool {
    const auto offline = endWith(errorOf(NSURLErrorDomain, -1009));
    const auto other = endWith(errorOf(NSPOSIXErrorDomain, -1009));

    ASSERT_TRUE(offline && other);
    EXPECT_EQ(offline->code(), QuillonURLErrorCode::notConnectedToInternet);
    EXPECT_EQ(offline->description(), "Cannot load https://example.com: It went wrong");
    EXPECT_EQ(other->code(), QuillonURLErrorCode::unknown);
  }
}

TEST(QuillonURLSessionConversionTest, WithoutAnErrorATransferEndsWell) { EXPECT_FALSE(endWith(nil)); }

}  // namespace
}  // namespace quillon
