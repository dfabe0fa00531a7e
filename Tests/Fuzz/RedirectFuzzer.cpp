// A URL, a line break, and the Location that its server sends, with header fields behind further line breaks. Whatever
// they are, nothing but HTTP is ever asked, never less securely than before, and no error holds a secret.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "QuillonCore/Network/Linux/CurlURL.h"
#include "QuillonCore/Network/QuillonHTTPContentLength.h"
#include "QuillonCore/Network/QuillonURLFailure.h"
#include "QuillonCore/Network/QuillonURLOrigin.h"
#include "QuillonCore/Network/QuillonURLRedirect.h"
#include "QuillonCore/Values/QuillonURLError.h"

namespace {

using quillon::QuillonURL;
using quillon::QuillonURLOrigin;

void require(bool condition) {
  if (!condition) std::abort();
}

std::string takeLine(std::string_view& text) {
  const std::size_t end = std::min(text.find('\n'), text.size());
  const std::string line(text.substr(0, end));
  text.remove_prefix(std::min(end + 1, text.size()));
  return line;
}

/// What stands before '@' in the URL, when it is too long to stand in an error by chance.
std::optional<std::string> credentialsOf(const QuillonURL& url) {
  const std::string text = url.absoluteString();
  const std::size_t begin = text.find("://");
  const std::size_t at = text.find('@');
  if (begin == std::string::npos || at == std::string::npos || at < begin + 3 + 8) return std::nullopt;
  return text.substr(begin + 3, at - begin - 3);
}

void checkFailure(const quillon::QuillonURLError& error, const QuillonURL& url) {
  for (const char c : error.description()) require(static_cast<unsigned char>(c) >= 0x20 && c != 0x7F);
  const auto credentials = url.isFileURL() ? std::nullopt : credentialsOf(url);
  require(!credentials || error.description().find(*credentials) == std::string::npos);
}

void checkOrigin(const QuillonURL& url) {
  const auto origin = QuillonURLOrigin::of(url);
  if (!origin) return;
  const auto again = QuillonURL::parse(origin->text() + "/");
  require(again && QuillonURLOrigin::of(*again) == origin);
}

void checkRedirect(const QuillonURL& from, const std::string& location) {
  const auto target =
      quillon::resolvedURLText(from.absoluteString(), quillon::percentEncodingStrayCharacters(location));
  quillon::QuillonURLRequest request{.url = from, .headerFields = {{"Authorization", "secret"}}};
  try {
    const auto following = quillon::requestFollowingRedirect(request, target.value_or(""));
    require(following.url.scheme() == "http" || following.url.scheme() == "https");
    require(from.scheme() != "https" || following.url.scheme() == "https");
    const bool isSameOrigin = QuillonURLOrigin::of(following.url) == QuillonURLOrigin::of(from);
    require(following.headerFields.empty() != isSameOrigin);
    checkOrigin(following.url);
  } catch (const quillon::QuillonURLError& error) {
    checkFailure(error, from);
  }
}

void checkLengths(std::string_view text) {
  std::vector<quillon::QuillonHTTPHeaderField> fields;
  while (!text.empty()) {
    const std::string line = takeLine(text);
    const std::size_t colon = line.find(':');
    if (colon != std::string::npos) fields.push_back({line.substr(0, colon), line.substr(colon + 1)});
  }
  const std::int64_t announced = quillon::announcedBodyLength(fields);
  const std::int64_t expected = quillon::expectedContentLength(fields);
  require(announced >= -1 && (expected == -1 || expected == announced));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view rest(reinterpret_cast<const char*>(data), size);
  const std::string base = takeLine(rest);
  const std::string location = takeLine(rest);
  checkLengths(rest);
  const auto url = QuillonURL::parse(base);
  if (!url) return 0;
  checkFailure(quillon::urlFailure(quillon::QuillonURLErrorCode::unknown, *url, "reason"), *url);
  checkOrigin(*url);
  (void)quillon::wireURLText(url->absoluteString());
  if (QuillonURLOrigin::of(*url)) checkRedirect(*url, location);
  return 0;
}
