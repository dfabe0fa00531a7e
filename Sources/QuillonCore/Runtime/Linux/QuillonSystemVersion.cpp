#include "QuillonCore/Values/QuillonSystemVersion.h"

#include <sys/utsname.h>

#include <charconv>
#include <string_view>

namespace quillon {
namespace {

/// Takes a number, and a period after it, off the front of `text`.
std::int64_t takeNumber(std::string_view& text) {
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc{}) return 0;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  if (text.starts_with('.')) text.remove_prefix(1);
  return number;
}

}  // namespace

QuillonSystemVersion QuillonSystemVersion::running() {
  utsname system{};
  if (uname(&system) != 0) return {};
  std::string_view release = system.release;  // "6.1.0-37-amd64"
  QuillonSystemVersion version;
  version.major = takeNumber(release);
  version.minor = takeNumber(release);
  version.patch = takeNumber(release);
  return version;
}

}  // namespace quillon
