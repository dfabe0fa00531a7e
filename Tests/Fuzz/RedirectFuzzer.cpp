// A URL, a line break, and the Location that its server sends, with header fields behind further line breaks. Whatever
// they are, nothing but HTTP is ever asked, never less securely than before, and no error holds a secret.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
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

/// `url` without what an error must not name: user, password, path and query may all be secrets.
QuillonURL reducedToOrigin(const QuillonURL& url) {
  if (url.isFileURL()) return url;
  const auto origin = QuillonURLOrigin::of(url);
  return QuillonURL::parse(origin ? origin->text() + "/" : url.scheme() + "://@/").value();
}

quillon::QuillonURLError failureOf(const QuillonURL& url) {
  return quillon::urlFailure(quillon::QuillonURLErrorCode::unknown, url, "reason");
}

/// `nameless` is the error that the same failure gives where there is no secret to name.
void checkFailure(const quillon::QuillonURLError& error, const quillon::QuillonURLError& nameless) {
  for (const char c : error.description()) require(static_cast<unsigned char>(c) >= 0x20 && c != 0x7F);
  require(error.code() == nameless.code() && error.description() == nameless.description());
}

void checkOrigin(const QuillonURL& url) {
  const auto origin = QuillonURLOrigin::of(url);
  if (!origin) return;
  const auto again = QuillonURL::parse(origin->text() + "/");
  require(again && QuillonURLOrigin::of(*again) == origin);
}

quillon::QuillonURLError refusalOfRedirect(const QuillonURL& from, std::string_view target) {
  try {
    (void)quillon::requestFollowingRedirect({.url = from}, target);
  } catch (const quillon::QuillonURLError& error) {
    return error;
  }
  std::abort();
}

void checkRedirect(const QuillonURL& from, const std::string& location) {
  const std::string target =
      quillon::resolvedURLText(from.absoluteString(), quillon::percentEncodingStrayCharacters(location)).value_or("");
  quillon::QuillonURLRequest request{.url = from, .headerFields = {{"Authorization", "secret"}}};
  try {
    const auto following = quillon::requestFollowingRedirect(request, target);
    require(following.url.scheme() == "http" || following.url.scheme() == "https");
    require(from.scheme() != "https" || following.url.scheme() == "https");
    const bool isSameOrigin = QuillonURLOrigin::of(following.url) == QuillonURLOrigin::of(from);
    require(following.headerFields.empty() != isSameOrigin);
    checkOrigin(following.url);
  } catch (const quillon::QuillonURLError& error) {
    const auto targetURL = QuillonURL::parse(target);
    const std::string namelessTarget = targetURL ? reducedToOrigin(*targetURL).absoluteString() : "";
    checkFailure(error, refusalOfRedirect(reducedToOrigin(from), namelessTarget));
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
  checkFailure(failureOf(*url), failureOf(reducedToOrigin(*url)));
  checkOrigin(*url);
  (void)quillon::wireURLText(url->absoluteString());
  if (QuillonURLOrigin::of(*url)) checkRedirect(*url, location);
  return 0;
}
