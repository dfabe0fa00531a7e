#include "QuillonCore/Values/QuillonURL.h"

#include <filesystem>
#include <system_error>

#include "QuillonCore/Values/QuillonError.h"

namespace quillon {
namespace {

constexpr bool isASCIILetter(char c) noexcept {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
constexpr bool isASCIIDigit(char c) noexcept {
  return c >= '0' && c <= '9';
}

constexpr int hexValue(char c) noexcept {
  if (isASCIIDigit(c)) return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

constexpr bool neverStandsInURL(char c) noexcept {
  const auto byte = static_cast<unsigned char>(c);
  return byte <= 0x20 || byte == 0x7F || c == '<' || c == '>' || c == '"' || c == '\\' || c == '^' || c == '`' ||
         c == '{' || c == '|' || c == '}';
}

std::optional<std::string> percentDecoded(std::string_view text) {
  std::string decoded;
  decoded.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      decoded += text[i];
      continue;
    }
    if (i + 2 >= text.size()) return std::nullopt;
    const int high = hexValue(text[i + 1]);
    const int low = hexValue(text[i + 2]);
    // An encoded NUL would cut the path short in every system call.
    if (high < 0 || low < 0 || high + low == 0) return std::nullopt;
    decoded += static_cast<char>(high * 16 + low);
    i += 2;
  }
  return decoded;
}

std::string percentEncodedPath(std::string_view path) {
  static constexpr std::string_view kUnescaped = "/-._~!$&'()*+,;=:@";
  static constexpr std::string_view kHex = "0123456789ABCDEF";
  std::string encoded;
  encoded.reserve(path.size());
  for (const char c : path) {
    if (isASCIILetter(c) || isASCIIDigit(c) || kUnescaped.find(c) != std::string_view::npos) {
      encoded += c;
    } else {
      const auto byte = static_cast<unsigned char>(c);
      encoded += '%';
      encoded += kHex[byte >> 4];
      encoded += kHex[byte & 15];
    }
  }
  return encoded;
}

/// Drops empty and "." components and trailing slashes of an absolute path. ".." stays: only the file system knows what
/// it means behind a link.
std::string tidied(std::string_view path) {
  std::string result;
  result.reserve(path.size());
  std::size_t position = 0;
  while (position < path.size()) {
    const std::size_t slash = std::min(path.find('/', position), path.size());
    const std::string_view component = path.substr(position, slash - position);
    if (!component.empty() && component != ".") result.append("/").append(component);
    position = slash + 1;
  }
  return result.empty() ? "/" : result;
}

}  // namespace

QuillonURL::QuillonURL(std::string scheme, std::string text, std::string path)
    : scheme_(std::move(scheme)), text_(std::move(text)), path_(std::move(path)) {}

QuillonURL QuillonURL::fileURL(std::string_view path) {
  if (path.starts_with('/')) return {"file", {}, tidied(path)};
  std::error_code error;
  const std::filesystem::path folder = std::filesystem::current_path(error);
  // A deleted current folder has no name; "/" keeps the path absolute, and looking there fails as it should.
  return {"file", {}, tidied((error ? std::string("/") : folder.string()) + "/" + std::string(path))};
}

std::optional<QuillonURL> QuillonURL::parse(std::string_view text) {
  const std::size_t colon = text.find(':');
  if (colon == std::string_view::npos || colon == 0 || !isASCIILetter(text.front())) return std::nullopt;
  std::string scheme;
  for (const char c : text.substr(0, colon)) {
    if (!isASCIILetter(c) && !isASCIIDigit(c) && c != '+' && c != '-' && c != '.') return std::nullopt;
    scheme += (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
  }
  for (const char c : text) {
    if (neverStandsInURL(c)) return std::nullopt;
  }
  std::string_view rest = text.substr(colon + 1);
  rest = rest.substr(0, std::min(rest.find_first_of("?#"), rest.size()));
  std::string_view authority;
  if (rest.starts_with("//")) {
    rest.remove_prefix(2);
    const std::size_t slash = std::min(rest.find('/'), rest.size());
    authority = rest.substr(0, slash);
    rest.remove_prefix(slash);
  }
  if (!percentDecoded(text)) return std::nullopt;
  std::string path = *percentDecoded(rest);
  if (scheme == "file") {
    if (!(authority.empty() || authority == "localhost") || !path.starts_with('/')) return std::nullopt;
    return QuillonURL("file", {}, tidied(path));
  }
  if ((scheme == "http" || scheme == "https") && authority.empty()) return std::nullopt;
  return QuillonURL(std::move(scheme), std::string(text), std::move(path));
}

std::string QuillonURL::absoluteString() const {
  return isFileURL() ? "file://" + percentEncodedPath(path_) : text_;
}

std::string_view QuillonURL::lastPathComponent() const noexcept {
  std::string_view path = path_;
  while (path.ends_with('/')) path.remove_suffix(1);
  return path.substr(path.rfind('/') + 1);
}

std::string_view QuillonURL::pathExtension() const noexcept {
  const std::string_view name = lastPathComponent();
  const std::size_t period = name.rfind('.');
  if (period == std::string_view::npos || period == 0) return {};
  return name.substr(period + 1);
}

std::string_view QuillonURL::nameWithoutExtension() const noexcept {
  const std::string_view name = lastPathComponent();
  const std::string_view extension = pathExtension();
  return extension.empty() ? name : name.substr(0, name.size() - extension.size() - 1);
}

QuillonURL QuillonURL::appendingPathComponent(std::string_view component) const {
  if (!isFileURL()) throw QuillonError("Cannot append a path component to " + text_ + ": not a file URL");
  return {scheme_, {}, tidied(path_ + "/" + std::string(component))};
}

QuillonURL QuillonURL::deletingLastPathComponent() const {
  if (!isFileURL()) throw QuillonError("Cannot take the folder of " + text_ + ": not a file URL");
  const std::size_t slash = path_.rfind('/');
  return {scheme_, {}, slash == 0 ? std::string("/") : path_.substr(0, slash)};
}

}  // namespace quillon
