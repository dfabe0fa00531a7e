#include "Support/TreeSnapshot.h"

#include <sys/stat.h>
#include <sys/xattr.h>

#include <array>
#include <string_view>

#include "Support/TemporaryDirectory.h"

namespace quillon::testing {
namespace {

std::map<std::string, std::string> attributesOf(const std::filesystem::path& item) {
  std::map<std::string, std::string> attributes;
  std::array<char, 65536> names{};
  const ssize_t length = llistxattr(item.c_str(), names.data(), names.size());
  for (ssize_t at = 0; at < length;) {
    const std::string name(names.data() + at);
    at += static_cast<ssize_t>(name.size()) + 1;
    std::array<char, 65536> value{};
    const ssize_t size = lgetxattr(item.c_str(), name.c_str(), value.data(), value.size());
    if (name.starts_with("user.") && size >= 0) {
      attributes[name].assign(value.data(), static_cast<std::size_t>(size));
    }
  }
  return attributes;
}

ItemSnapshot snapshotOf(const std::filesystem::path& item) {
  struct stat status {};
  if (lstat(item.c_str(), &status) != 0) return {};
  ItemSnapshot snapshot{
      .mode = status.st_mode, .modificationTime = status.st_mtim.tv_sec, .content = {}, .attributes = {}};
  if (S_ISLNK(status.st_mode)) {
    snapshot.mode = S_IFLNK;
    snapshot.content = std::filesystem::read_symlink(item).string();
  } else {
    snapshot.attributes = attributesOf(item);
    if (S_ISREG(status.st_mode)) snapshot.content = readFile(item);
  }
  return snapshot;
}

}  // namespace

std::map<std::string, ItemSnapshot> treeSnapshot(const std::filesystem::path& root) {
  std::map<std::string, ItemSnapshot> snapshot;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    snapshot[entry.path().lexically_relative(root).string()] = snapshotOf(entry.path());
  }
  return snapshot;
}

}  // namespace quillon::testing
