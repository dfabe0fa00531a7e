#import "QuillonCore/Network/Apple/QuillonURLSessionConversion.h"

#include <chrono>
#include <utility>

#import "QuillonCore/Runtime/Apple/QuillonFoundationConversion.h"

namespace quillon {

NSURLRequest* toNSURLRequest(const QuillonURLRequest& request) noexcept {
  NSURL* const url = toNSURL(request.url);
  if (url == nil) return nil;
  const std::chrono::duration<double> timeout = request.timeout;
  NSMutableURLRequest* const made = [NSMutableURLRequest requestWithURL:url];
  [made setTimeoutInterval:timeout.count()];
  for (const QuillonHTTPHeaderField& field : request.headerFields) {
    NSString* const name = toNSString(field.name);
    NSString* const value = toNSString(field.value);
    if (name == nil || value == nil) return nil;
    [made setValue:value forHTTPHeaderField:name];
  }
  return made;
}

std::optional<QuillonURLResponse> fromNSURLResponse(NSURLResponse* response) noexcept {
  auto url = fromNSURL([response URL]);
  if (!url) return std::nullopt;
  QuillonURLResponse made{.url = *std::move(url), .expectedContentLength = [response expectedContentLength]};
  if (![response isKindOfClass:[NSHTTPURLResponse class]]) return made;
  NSHTTPURLResponse* const answer = static_cast<NSHTTPURLResponse*>(response);
  made.httpStatusCode = static_cast<std::int32_t>([answer statusCode]);
  NSDictionary* const fields = [answer allHeaderFields];
  for (id name in fields) {
    auto key = fromNSString(name);
    auto value = fromNSString([fields objectForKey:name]);
    if (key && value) made.headerFields.push_back({.name = *std::move(key), .value = *std::move(value)});
  }
  return made;
}

void endTransfer(QuillonURLSessionTransfer& transfer, NSError* error) noexcept {
  if (error == nil) return transfer.didFinish();
  transfer.didFail(fromNSString([error domain]).value_or(""), [error code],
                   fromNSString([error localizedDescription]).value_or(""));
}

}  // namespace quillon
