#include "Support/ExtendedAttributes.h"

#include <sys/acl.h>
#include <sys/xattr.h>

#include <array>

namespace quillon::testing {

const char* const kQuarantineAttribute = "com.apple.quarantine";

bool setAttribute(const std::filesystem::path& item, const char* name, const std::string& value) {
  return setxattr(item.c_str(), name, value.data(), value.size(), 0, XATTR_NOFOLLOW) == 0;
}

std::optional<std::string> attribute(const std::filesystem::path& item, const char* name) {
  std::array<char, 256> value{};
  const ssize_t size = getxattr(item.c_str(), name, value.data(), value.size(), 0, XATTR_NOFOLLOW);
  if (size < 0) return std::nullopt;
  return std::string(value.data(), static_cast<std::size_t>(size));
}

bool setAccessListForOther(const std::filesystem::path& file) {
  // The group of everybody has the same identifier on every Mac.
  acl_t list = acl_from_text("!#acl 1\ngroup:ABCDEFAB-CDEF-ABCD-EFAB-CDEF0000000C:everyone:12:allow:read,write\n");
  if (list == nullptr) return false;
  const bool isSet = acl_set_file(file.c_str(), ACL_TYPE_EXTENDED, list) == 0;
  acl_free(list);
  return isSet;
}

bool hasAccessList(const std::filesystem::path& file) {
  acl_t list = acl_get_file(file.c_str(), ACL_TYPE_EXTENDED);
  if (list == nullptr) return false;
  acl_free(list);
  return true;
}

}  // namespace quillon::testing
