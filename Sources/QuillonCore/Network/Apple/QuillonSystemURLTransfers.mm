#include "QuillonCore/Network/QuillonSystemURLTransfers.h"

#import <Foundation/Foundation.h>

#include <stop_token>
#include <utility>

#import "QuillonCore/Network/Apple/QuillonURLSessionConversion.h"
#import "QuillonCore/Network/Apple/QuillonURLSessionDelegate.h"
#include "QuillonCore/Network/QuillonLoadableRequest.h"
#include "QuillonCore/Network/QuillonURLFailure.h"
#import "QuillonCore/Runtime/Apple/QuillonObjectReference.h"

namespace quillon {
namespace {

using Task = QuillonObjectReference<NSURLSessionDataTask>;

QuillonURLError noURLOfFoundation(const QuillonURL& url) {
  return urlFailure(QuillonURLErrorCode::badURL, url, "the system does not take the request");
}

/// Runs `task` to its end, which it tells `transfer`.
void run(const Task& task, QuillonURLSessionTransfer& transfer, const std::stop_token& stopToken) {
  const std::stop_callback cancel(stopToken, [&task] { [task.get() cancel]; });
  [task.get() resume];
  transfer.wait();
}

/// One session with a delegate of its own for each transfer.
class SessionTransfers final : public QuillonURLTransferring {
 public:
  void transfer(const QuillonURLRequest& request, QuillonURLTransferReceiving& receiver,
                std::stop_token stopToken) const override {
    if (stopToken.stop_requested()) throw cancelledTransfer(request.url);
    requireLoadable(request);
    @autoreleasepool {
      NSURLRequest* const asked = toNSURLRequest(request);
      if (asked == nil) throw noURLOfFoundation(request.url);
      const auto transfer = std::make_shared<QuillonURLSessionTransfer>(request, receiver);
      const auto delegate = QuillonObjectReference<QuillonURLSessionDelegate>::adopt(
          [[QuillonURLSessionDelegate alloc] initWithTransfer:transfer]);
      NSURLSession* const session =
          [NSURLSession sessionWithConfiguration:[NSURLSessionConfiguration defaultSessionConfiguration]
                                        delegate:delegate.get()
                                   delegateQueue:nil];
      run(Task::retain([session dataTaskWithRequest:asked]), *transfer, stopToken);
    }
  }
};

/// The session that a process shares, which has no delegate.
class SharedSessionTransfers final : public QuillonURLTransferring {
 public:
  void transfer(const QuillonURLRequest& request, QuillonURLTransferReceiving& receiver,
                std::stop_token stopToken) const override {
    if (stopToken.stop_requested()) throw cancelledTransfer(request.url);
    requireLoadable(request);
    @autoreleasepool {
      NSURLRequest* const asked = toNSURLRequest(request);
      if (asked == nil) throw noURLOfFoundation(request.url);
      const auto transfer = std::make_shared<QuillonURLSessionTransfer>(request, receiver);
      NSURLSessionDataTask* const task =
          [[NSURLSession sharedSession] dataTaskWithRequest:asked
                                          completionHandler:^(NSData* data, NSURLResponse* response, NSError* error) {
                                            deliver(*transfer, data, response, error);
                                          }];
      run(Task::retain(task), *transfer, stopToken);
    }
  }

 private:
  static void deliver(QuillonURLSessionTransfer& transfer, NSData* data, NSURLResponse* response,
                      NSError* error) noexcept {
    const auto received = fromNSURLResponse(response);
    if (error == nil && received && transfer.didReceiveResponse(*received)) {
      (void)transfer.didReceiveData({static_cast<const char*>([data bytes]), [data length]});
    }
    endTransfer(transfer, error);
  }
};

}  // namespace

std::shared_ptr<const QuillonURLTransferring> makeSystemURLTransfers(
    QuillonURLTransferConfiguration /*configuration*/) {
  return std::make_shared<SessionTransfers>();
}

std::shared_ptr<const QuillonURLTransferring> makeSharedURLTransfers() {
  return std::make_shared<SharedSessionTransfers>();
}

}  // namespace quillon
