#include "QuillonCore/Network/QuillonURLRedirect.h"

#include <algorithm>
#include <array>

#include "QuillonCore/Network/QuillonURLFailure.h"
#include "QuillonCore/Network/QuillonURLOrigin.h"

namespace quillon {
namespace {

constexpr std::array<std::string_view, 3> kCredentialFields = {"authorization", "cookie", "proxy-authorization"};

bool holdsCredentials(const QuillonHTTPHeaderField& field) {
  std::string name = field.name;
  std::ranges::transform(name, name.begin(),
                         [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return std::ranges::find(kCredentialFields, name) != kCredentialFields.end();
}

}  // namespace

bool isRedirectStatus(std::int32_t statusCode) noexcept {
  return statusCode == 301 || statusCode == 302 || statusCode == 303 || statusCode == 307 || statusCode == 308;
}

std::string percentEncodingStrayCharacters(std::string_view location) {
  static constexpr std::string_view kStray = " <>\"\\^`{|}";
  static constexpr std::string_view kHex = "0123456789ABCDEF";
  std::string encoded;
  encoded.reserve(location.size());
  for (const char c : location) {
    const auto byte = static_cast<unsigned char>(c);
    if (kStray.find(c) == std::string_view::npos) {
      encoded += c;
    } else {
      encoded += {'%', kHex[byte >> 4], kHex[byte & 15]};
    }
  }
  return encoded;
}

QuillonURLRequest requestFollowingRedirect(const QuillonURLRequest& request, std::string_view target) {
  const auto url = QuillonURL::parse(target);
  if (!url) {
    throw urlFailure(QuillonURLErrorCode::redirectToNonExistentLocation, request.url,
                     "it redirects to something that is no URL");
  }
  if (url->scheme() != "http" && url->scheme() != "https") {
    throw urlFailure(QuillonURLErrorCode::unsupportedURL, request.url,
                     "it redirects to the scheme \"" + url->scheme() + "\"");
  }
  const auto origin = QuillonURLOrigin::of(*url);
  if (!origin) {
    throw urlFailure(QuillonURLErrorCode::redirectToNonExistentLocation, request.url,
                     "it redirects to a URL without a valid host");
  }
  if (request.url.scheme() == "https" && origin->scheme != "https") {
    throw urlFailure(QuillonURLErrorCode::secureConnectionFailed, request.url,
                     "it redirects to " + origin->text() + ", which is not secure");
  }
  QuillonURLRequest following = request;
  following.url = *url;
  if (origin != QuillonURLOrigin::of(request.url)) std::erase_if(following.headerFields, holdsCredentials);
  return following;
}

}  // namespace quillon
