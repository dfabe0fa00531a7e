#include "QuillonCore/Network/Linux/CurlURL.h"

#include <new>

#include "QuillonCore/Network/Linux/CurlHandles.h"

namespace quillon {
namespace {

// Schemes that libcurl cannot load are named in the error of whoever judges the result.
constexpr unsigned int kFlags = CURLU_URLENCODE | CURLU_NON_SUPPORT_SCHEME;

CurlURLHandle makeURLHandle() {
  CurlURLHandle handle(curl_url());
  if (!handle) throw std::bad_alloc();
  return handle;
}

std::optional<std::string> textOf(const CurlURLHandle& handle) {
  char* text = nullptr;
  if (curl_url_get(handle.get(), CURLUPART_URL, &text, 0) != CURLUE_OK) return std::nullopt;
  const CurlText owner(text);
  return std::string(text);
}

}  // namespace

std::optional<std::string> wireURLText(const std::string& url) {
  const CurlURLHandle handle = makeURLHandle();
  if (curl_url_set(handle.get(), CURLUPART_URL, url.c_str(), kFlags) != CURLUE_OK) return std::nullopt;
  return textOf(handle);
}

std::optional<std::string> resolvedURLText(const std::string& base, const std::string& reference) {
  const CurlURLHandle handle = makeURLHandle();
  if (curl_url_set(handle.get(), CURLUPART_URL, base.c_str(), kFlags) != CURLUE_OK) return std::nullopt;
  if (curl_url_set(handle.get(), CURLUPART_URL, reference.c_str(), kFlags) != CURLUE_OK) return std::nullopt;
  return textOf(handle);
}

}  // namespace quillon
