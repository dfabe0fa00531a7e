#import "QuillonCore/Network/Apple/QuillonURLSessionDelegate.h"

#include <utility>

#import "QuillonCore/Network/Apple/QuillonURLSessionConversion.h"
#import "QuillonCore/Runtime/Apple/QuillonFoundationConversion.h"

namespace {

/// Nil when the transfer is to be cancelled.
NSURLRequest* requestAfterRedirect(quillon::QuillonURLSessionTransfer& transfer, NSURL* location) noexcept {
  const auto following = transfer.requestAfterRedirect(quillon::fromNSURL(location));
  if (!following) return nil;
  NSURLRequest* const request = quillon::toNSURLRequest(*following);
  if (request == nil) transfer.didRefuseRedirect();
  return request;
}

}  // namespace

@implementation QuillonURLSessionDelegate

- (instancetype)initWithTransfer:(std::shared_ptr<quillon::QuillonURLSessionTransfer>)transfer {
  self = [super init];
  if (self != nil) transfer_ = std::move(transfer);
  return self;
}

- (void)URLSession:(NSURLSession*)session
              dataTask:(NSURLSessionDataTask*)dataTask
    didReceiveResponse:(NSURLResponse*)response
     completionHandler:(void (^)(NSURLSessionResponseDisposition))completionHandler {
  (void)session;
  (void)dataTask;
  // One that cannot be read counts as none. Not as a cancellation: that would be the user's.
  const auto received = quillon::fromNSURLResponse(response);
  const bool goesOn = !received || transfer_->didReceiveResponse(*received);
  completionHandler(goesOn ? NSURLSessionResponseAllow : NSURLSessionResponseCancel);
}

- (void)URLSession:(NSURLSession*)session dataTask:(NSURLSessionDataTask*)dataTask didReceiveData:(NSData*)data {
  (void)session;
  const auto transfer = transfer_;
  __block bool goesOn = true;
  [data enumerateByteRangesUsingBlock:^(const void* bytes, NSRange range, BOOL* stop) {
    goesOn = transfer->didReceiveData({static_cast<const char*>(bytes), range.length});
    if (!goesOn) *stop = YES;
  }];
  if (!goesOn) [dataTask cancel];
}

- (void)URLSession:(NSURLSession*)session
                          task:(NSURLSessionTask*)task
    willPerformHTTPRedirection:(NSHTTPURLResponse*)response
                    newRequest:(NSURLRequest*)request
             completionHandler:(void (^)(NSURLRequest*))completionHandler {
  (void)session;
  (void)response;
  NSURLRequest* const following = requestAfterRedirect(*transfer_, [request URL]);
  completionHandler(following);
  if (following == nil) [task cancel];
}

- (void)URLSession:(NSURLSession*)session task:(NSURLSessionTask*)task didCompleteWithError:(NSError*)error {
  (void)task;
  // The session keeps its delegate until it is invalidated.
  [session finishTasksAndInvalidate];
  quillon::endTransfer(*transfer_, error);
}

@end
