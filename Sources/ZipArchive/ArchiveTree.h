#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "ZipArchive/ZipEntry.h"

namespace quillon {

/// An item that unpacking makes: an entry, or a folder that only the names of entries tell of.
struct ArchiveItem {
  std::string name;
  /// Index of the folder around it; the root, which stands for the destination, is its own.
  std::size_t parent = 0;
  ZipEntryKind kind = ZipEntryKind::folder;
  /// Index of its entry. Absent for a folder without one.
  std::optional<std::size_t> entry;
  /// Index of the entry of the AppleDouble file that holds its attributes.
  std::optional<std::size_t> appleDouble;
  /// Indexes of what it holds, in the order of the archive.
  std::vector<std::size_t> children;
};

/// The tree that an archive unpacks to. AppleDouble files are no items of it but belong to one.
class ArchiveTree {
 public:
  static constexpr std::size_t kRoot = 0;

  /// `isAppleDouble` looks into an entry whose name begins with "._" beside the file that it would belong to.
  ///
  /// Throws ZipArchiveError when two names are equal, or can be for a file system that ignores case or composition of
  /// characters, when an entry lies in something that is no folder, and when there are more than `limit` items;
  /// QuillonCancellationError on `stop`.
  ArchiveTree(const std::vector<ZipEntry>& entries, std::size_t limit,
              const std::function<bool(const ZipEntry&)>& isAppleDouble, const std::stop_token& stop = {});

  /// The root first, every folder before what it holds.
  [[nodiscard]] const std::vector<ArchiveItem>& items() const noexcept { return items_; }
  /// The path of an item below the destination.
  [[nodiscard]] std::string path(std::size_t item) const;
  /// Throws ZipArchiveError when the target of the link `item` can lead out of the destination: when it is absolute,
  /// has more ".." than folders around it, or ".." behind another link of the archive.
  void checkLinkTarget(std::size_t item, std::string_view target) const;

 private:
  struct Key {
    std::size_t parent;
    std::string name;
    friend bool operator==(const Key&, const Key&) = default;
  };
  struct KeyHash {
    std::size_t operator()(const Key& key) const noexcept {
      return std::hash<std::string>()(key.name) ^ (key.parent * 0x9E3779B97F4A7C15U);
    }
  };

  void add(const ZipEntry& entry, std::size_t index);
  [[nodiscard]] std::size_t folderAt(std::size_t parent, std::string_view name, const ZipEntry& entry);
  [[nodiscard]] std::optional<std::size_t> childCalled(std::size_t parent, std::string_view name) const;
  [[nodiscard]] std::optional<std::size_t> itemAt(std::string_view path) const;
  [[nodiscard]] std::size_t append(std::size_t parent, std::string_view name, ZipEntryKind kind);
  void attach(const ZipEntry& entry, std::size_t index, std::string_view owner);

  std::size_t limit_;
  std::vector<ArchiveItem> items_;
  std::unordered_map<Key, std::size_t, KeyHash> byKey_;
};

}  // namespace quillon
