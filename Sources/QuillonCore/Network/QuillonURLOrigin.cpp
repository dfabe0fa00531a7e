#include "QuillonCore/Network/QuillonURLOrigin.h"

#include <algorithm>
#include <charconv>
#include <string_view>

namespace quillon {
namespace {

constexpr std::uint16_t kHTTPPort = 80;
constexpr std::uint16_t kHTTPSPort = 443;

bool isASCIIDigit(char c) noexcept {
  return c >= '0' && c <= '9';
}
char lowercase(char c) noexcept {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// Text between "//" and the path.
std::string_view authorityOf(std::string_view text) noexcept {
  const std::size_t begin = text.find("://");
  if (begin == std::string_view::npos) return {};
  text.remove_prefix(begin + 3);
  return text.substr(0, text.find_first_of("/?#"));
}

bool isHostName(std::string_view host) noexcept {
  return !host.empty() && std::ranges::all_of(host, [](char c) {
    const char lower = lowercase(c);
    return (lower >= 'a' && lower <= 'z') || isASCIIDigit(c) || c == '.' || c == '-' || c == '_' ||
           static_cast<unsigned char>(c) >= 0x80;
  });
}

bool isAddressLiteral(std::string_view host) noexcept {
  if (host.size() < 4 || !host.starts_with('[') || !host.ends_with(']')) return false;
  host = host.substr(1, host.size() - 2);
  return std::ranges::all_of(host, [](char c) {
    const char lower = lowercase(c);
    return isASCIIDigit(c) || (lower >= 'a' && lower <= 'f') || c == ':' || c == '.';
  });
}

/// Empty text is the scheme's own port.
std::optional<std::uint16_t> portFrom(std::string_view text, std::uint16_t ownPort) noexcept {
  if (text.empty()) return ownPort;
  std::uint16_t port = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
  if (error != std::errc() || end != text.data() + text.size() || port == 0) return std::nullopt;
  return port;
}

}  // namespace

std::optional<QuillonURLOrigin> QuillonURLOrigin::of(const QuillonURL& url) {
  if (url.scheme() != "http" && url.scheme() != "https") return std::nullopt;
  const std::string text = url.absoluteString();
  std::string_view authority = authorityOf(text);
  const std::size_t at = authority.find('@');
  if (at != std::string_view::npos) authority.remove_prefix(at + 1);
  // A second '@' is where readers disagree about the host; it is no character of one.
  const std::size_t bracket = authority.rfind(']');
  const std::size_t colon = authority.find(':', bracket == std::string_view::npos ? 0 : bracket);
  const std::string_view host = authority.substr(0, colon);
  if (!isHostName(host) && !isAddressLiteral(host)) return std::nullopt;
  const std::string_view portText = colon == std::string_view::npos ? std::string_view() : authority.substr(colon + 1);
  const auto port = portFrom(portText, url.scheme() == "https" ? kHTTPSPort : kHTTPPort);
  if (!port) return std::nullopt;
  QuillonURLOrigin origin{.scheme = url.scheme(), .host = std::string(host), .port = *port};
  std::ranges::transform(origin.host, origin.host.begin(), lowercase);
  return origin;
}

std::string QuillonURLOrigin::text() const {
  const bool isOwnPort = port == (scheme == "https" ? kHTTPSPort : kHTTPPort);
  return scheme + "://" + host + (isOwnPort ? std::string() : ":" + std::to_string(port));
}

}  // namespace quillon
