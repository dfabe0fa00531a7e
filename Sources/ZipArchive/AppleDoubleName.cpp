#include "ZipArchive/AppleDoubleName.h"

#include <cstddef>

namespace quillon {
namespace {

/// The path up to its last component, with the slash.
std::string_view folderOf(std::string_view path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string_view::npos ? std::string_view() : path.substr(0, slash + 1);
}

}  // namespace

std::optional<AppleDoubleName> appleDoubleName(std::string_view path) {
  const std::string ownFolder = std::string(kAppleDoubleFolder) + "/";
  const bool isInOwnFolder = path.starts_with(ownFolder);
  if (isInOwnFolder) path.remove_prefix(ownFolder.size());
  const std::string_view folder = folderOf(path);
  const std::string_view name = path.substr(folder.size());
  if (!name.starts_with(kAppleDoublePrefix) || name.size() == kAppleDoublePrefix.size()) return std::nullopt;
  return AppleDoubleName{.owner = std::string(folder).append(name.substr(kAppleDoublePrefix.size())),
                         .isInOwnFolder = isInOwnFolder};
}

std::string appleDoublePath(std::string_view path) {
  const std::string_view folder = folderOf(path);
  std::string result(kAppleDoubleFolder);
  result.append("/").append(folder).append(kAppleDoublePrefix).append(path.substr(folder.size()));
  return result;
}

}  // namespace quillon
