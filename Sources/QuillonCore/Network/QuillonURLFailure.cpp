#include "QuillonCore/Network/QuillonURLFailure.h"

#include <algorithm>
#include <string>

#include "QuillonCore/Network/QuillonURLOrigin.h"

namespace quillon {
namespace {

std::string nameOf(const QuillonURL& url) {
  if (url.isFileURL()) return url.path();
  const auto origin = QuillonURLOrigin::of(url);
  return origin ? origin->text() : "a location of the scheme \"" + url.scheme() + "\"";
}

bool isControlCharacter(char c) noexcept {
  const auto byte = static_cast<unsigned char>(c);
  return byte < 0x20 || byte == 0x7F;
}

}  // namespace

QuillonURLError urlFailure(QuillonURLErrorCode code, const QuillonURL& url, std::string_view reason) {
  std::string description = "Cannot load " + nameOf(url) + ": " + std::string(reason);
  std::ranges::replace_if(description, isControlCharacter, '?');
  return {code, std::move(description)};
}

QuillonURLError cancelledTransfer(const QuillonURL& url) {
  return urlFailure(QuillonURLErrorCode::cancelled, url, "the transfer was cancelled");
}

}  // namespace quillon
