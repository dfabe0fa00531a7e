#include "ZipArchive/Posix/ItemAttributes.h"

#include <sys/xattr.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <string>
#include <string_view>

#include "QuillonCore/Values/QuillonError.h"

namespace quillon {
namespace {

constexpr std::string_view kNamespace = "user.";
constexpr std::string_view kCodeSigningAttributes = "com.apple.cs.";

/// Whether the failure says that the volume has no place for such an attribute.
bool cannotHold(int code) noexcept {
  return code == ENOTSUP || code == E2BIG || code == ENOSPC || code == ERANGE || code == EDQUOT;
}

std::string valueOf(int item, const std::string& name) {
  const ssize_t length = fgetxattr(item, name.c_str(), nullptr, 0);
  std::string value(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
  const ssize_t read = length < 0 ? length : fgetxattr(item, name.c_str(), value.data(), value.size());
  if (read < 0) throw QuillonSystemError::posix(errno, "read the attribute", name);
  value.resize(static_cast<std::size_t>(read));
  return value;
}

}  // namespace

void setItemAttributes(int item, const std::vector<ExtendedAttribute>& attributes) {
  for (const ExtendedAttribute& attribute : attributes) {
    const std::string name = std::string(kNamespace) + attribute.name;
    if (fsetxattr(item, name.c_str(), attribute.value.data(), attribute.value.size(), 0) == 0) continue;
    const int code = errno;
    if (!cannotHold(code) || attribute.name.starts_with(kCodeSigningAttributes)) {
      throw QuillonSystemError::posix(code, "set the attribute", name);
    }
  }
}

std::vector<ExtendedAttribute> itemAttributes(int item) {
  const ssize_t length = flistxattr(item, nullptr, 0);
  if (length < 0 && errno == ENOTSUP) return {};
  std::string names(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
  const ssize_t read = length < 0 ? length : flistxattr(item, names.data(), names.size());
  if (read < 0) throw QuillonSystemError::posix(errno, "list attributes of", "an item");
  names.resize(static_cast<std::size_t>(read));
  std::vector<ExtendedAttribute> attributes;
  for (std::string_view rest = names; !rest.empty();) {
    const std::string name(rest.substr(0, rest.find('\0')));
    rest.remove_prefix(std::min(rest.size(), name.size() + 1));
    if (name.starts_with(kNamespace)) attributes.push_back({name.substr(kNamespace.size()), valueOf(item, name)});
  }
  std::sort(attributes.begin(), attributes.end(),
            [](const ExtendedAttribute& a, const ExtendedAttribute& b) { return a.name < b.name; });
  return attributes;
}

}  // namespace quillon
