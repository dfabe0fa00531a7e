#pragma once

#include <filesystem>
#include <map>
#include <string>

namespace quillon::testing {

/// What is known of an item: type and permissions, modification time in seconds, content or target, and "user."
/// attributes. Links have no permissions of their own.
struct ItemSnapshot {
  unsigned mode = 0;
  long modificationTime = 0;
  std::string content;
  std::map<std::string, std::string> attributes;

  friend bool operator==(const ItemSnapshot&, const ItemSnapshot&) = default;
};

/// Everything below `root`, by relative path, links not followed.
[[nodiscard]] std::map<std::string, ItemSnapshot> treeSnapshot(const std::filesystem::path& root);

}  // namespace quillon::testing
