#include "Support/ExtendedAttributes.h"

#include <sys/xattr.h>

#include <array>

namespace quillon::testing {
namespace {

constexpr const char* kAccessList = "system.posix_acl_access";

}  // namespace

const char* const kQuarantineAttribute = "user.com.apple.quarantine";

bool setAttribute(const std::filesystem::path& item, const char* name, const std::string& value) {
  return setxattr(item.c_str(), name, value.data(), value.size(), 0) == 0;
}

std::optional<std::string> attribute(const std::filesystem::path& item, const char* name) {
  std::array<char, 256> value{};
  const ssize_t size = getxattr(item.c_str(), name, value.data(), value.size());
  if (size < 0) return std::nullopt;
  return std::string(value.data(), static_cast<std::size_t>(size));
}

bool setAccessListForOther(const std::filesystem::path& file) {
  // In the form of acl(5): every right for user 65534.
  const std::array<unsigned char, 44> list = {
      2,    0,    0,    0,    1,    0, 7, 0, 0xFF, 0xFF, 0xFF, 0xFF, 2,    0, 7, 0, 0xFE, 0xFF, 0,    0,   4, 0, 5, 0,
      0xFF, 0xFF, 0xFF, 0xFF, 0x10, 0, 7, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0x20, 0, 5, 0, 0xFF, 0xFF, 0xFF, 0xFF};
  return setxattr(file.c_str(), kAccessList, list.data(), list.size(), 0) == 0;
}

bool hasAccessList(const std::filesystem::path& file) {
  return getxattr(file.c_str(), kAccessList, nullptr, 0) >= 0;
}

}  // namespace quillon::testing
