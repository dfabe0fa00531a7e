#include "ZipArchive/ZipEntryName.h"

#include <libdeflate.h>
#include <utf8proc.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>

#include "QuillonCore/Text/QuillonScalars.h"
#include "ZipArchive/CodePage437.h"
#include "ZipArchive/ZipArchiveError.h"
#include "ZipArchive/ZipFormat.h"

namespace quillon {
namespace {

bool separatesWithBackslash(std::uint8_t host) noexcept {
  return host == kZipHostDOS || host == kZipHostNTFS || host == kZipHostVFAT;
}

bool isASCII(std::string_view text) noexcept {
  return std::none_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
}

void checkComponent(std::string_view component, std::string_view name, const ZipArchiveLimits& limits) {
  if (component.empty()) throw ZipArchiveError::entry(name, "has a name with an empty component");
  if (component == "..") throw ZipArchiveError::entry(name, "has a name that leads out of the destination");
  if (component.size() > limits.componentLength) throw ZipArchiveError::entry(name, "has a name that is too long");
}

}  // namespace

bool isUTF8(std::string_view text) noexcept {
  while (!text.empty()) {
    const char32_t scalar = takeFirstScalar(text);
    if (scalar >= 0xD800 && scalar < 0xE000) return false;
  }
  return true;
}

std::string decodedZipName(std::string_view raw, std::uint16_t flags, const ZipExtraFields& fields) {
  if (isASCII(raw) && !fields.unicodePath) return std::string(raw);
  const bool isDeclared = (flags & kZipFlagUTF8) != 0;
  if (!isDeclared && fields.unicodePath && libdeflate_crc32(0, raw.data(), raw.size()) == fields.unicodePathNameCRC) {
    if (!isUTF8(*fields.unicodePath)) throw ZipArchiveError::entry(raw, "has a Unicode name that is no UTF-8");
    return *fields.unicodePath;
  }
  if (isUTF8(raw)) return std::string(raw);
  if (isDeclared) throw ZipArchiveError::entry(raw, "has a name that is no UTF-8 but is said to be");
  return textFromCodePage437(raw);
}

ZipEntryName checkedZipName(std::string_view decoded, std::uint8_t host, const ZipArchiveLimits& limits) {
  if (decoded.empty()) throw ZipArchiveError::damaged("an entry has no name");
  if (decoded.find('\0') != std::string_view::npos) {
    throw ZipArchiveError::entry(decoded, "has a name with a NUL character");
  }
  if (decoded.front() == '/') throw ZipArchiveError::entry(decoded, "has an absolute name");
  if (separatesWithBackslash(host) && decoded.find('\\') != std::string_view::npos) {
    throw ZipArchiveError::entry(decoded, "has a name with a backslash");
  }
  if (decoded.size() > limits.nameLength) throw ZipArchiveError::entry(decoded, "has a name that is too long");
  ZipEntryName name{.path = {}, .endsWithSlash = decoded.back() == '/'};
  const std::string_view path = name.endsWithSlash ? decoded.substr(0, decoded.size() - 1) : decoded;
  std::size_t depth = 0;
  for (const std::string_view component : pathComponents(path)) {
    if (component == ".") continue;
    checkComponent(component, decoded, limits);
    if (++depth > limits.depth) throw ZipArchiveError::entry(decoded, "lies in too many folders");
    if (!name.path.empty()) name.path += '/';
    name.path += component;
  }
  return name;
}

std::vector<std::string_view> pathComponents(std::string_view path) {
  std::vector<std::string_view> components;
  if (path.empty()) return components;
  for (;;) {
    const std::size_t slash = path.find('/');
    components.push_back(path.substr(0, slash));
    if (slash == std::string_view::npos) return components;
    path.remove_prefix(slash + 1);
  }
}

std::string collisionKey(std::string_view component) {
  if (isASCII(component)) {
    std::string key(component);
    for (char& c : key) {
      if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return key;
  }
  struct Free {
    void operator()(utf8proc_uint8_t* memory) const noexcept { std::free(memory); }
  };
  utf8proc_uint8_t* mapped = nullptr;
  const utf8proc_ssize_t length = utf8proc_map(
      reinterpret_cast<const utf8proc_uint8_t*>(component.data()), static_cast<utf8proc_ssize_t>(component.size()),
      &mapped, static_cast<utf8proc_option_t>(UTF8PROC_STABLE | UTF8PROC_DECOMPOSE | UTF8PROC_CASEFOLD));
  const std::unique_ptr<utf8proc_uint8_t, Free> owner(mapped);
  if (length == UTF8PROC_ERROR_NOMEM) throw std::bad_alloc();
  if (length < 0) return std::string(component);  // no text: only equal bytes can be taken for it
  return {reinterpret_cast<const char*>(mapped), static_cast<std::size_t>(length)};
}

}  // namespace quillon
