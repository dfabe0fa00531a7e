#include "QuillonCore/Network/QuillonLoadableRequest.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "QuillonCore/Network/QuillonURLFailure.h"
#include "QuillonCore/Network/QuillonURLOrigin.h"

namespace quillon {
namespace {

bool isTokenCharacter(char c) noexcept {
  static constexpr std::string_view kOther = "!#$%&'*+-.^_`|~";
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
         kOther.find(c) != std::string_view::npos;
}

bool isField(const QuillonHTTPHeaderField& field) noexcept {
  static constexpr std::string_view kBreaks("\r\n\0", 3);
  return !field.name.empty() && std::ranges::all_of(field.name, isTokenCharacter) &&
         field.value.find_first_of(kBreaks) == std::string::npos;
}

void requireLoadable(const QuillonURL& url) {
  if (url.isFileURL()) return;
  if (url.scheme() != "http" && url.scheme() != "https") {
    throw urlFailure(QuillonURLErrorCode::unsupportedURL, url, "only http, https and file can be loaded");
  }
  if (!QuillonURLOrigin::of(url)) throw urlFailure(QuillonURLErrorCode::badURL, url, "it names no valid host");
}

}  // namespace

void requireLoadable(const QuillonURLRequest& request) {
  requireLoadable(request.url);
  if (!std::ranges::all_of(request.headerFields, isField)) {
    throw urlFailure(QuillonURLErrorCode::badURL, request.url, "the request has a malformed header field");
  }
}

}  // namespace quillon
