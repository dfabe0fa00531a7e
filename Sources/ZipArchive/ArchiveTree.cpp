#include "ZipArchive/ArchiveTree.h"

#include "ZipArchive/AppleDoubleName.h"
#include "ZipArchive/ZipArchiveError.h"
#include "ZipArchive/ZipEntryName.h"

namespace quillon {
namespace {

/// Whether the entry is a folder that only holds AppleDouble files.
bool isAppleDoubleFolder(const ZipEntry& entry) {
  const std::string_view path = entry.path;
  return entry.kind == ZipEntryKind::folder && path.starts_with(kAppleDoubleFolder) &&
         (path.size() == kAppleDoubleFolder.size() || path[kAppleDoubleFolder.size()] == '/');
}

}  // namespace

ArchiveTree::ArchiveTree(const std::vector<ZipEntry>& entries, std::size_t limit,
                         const std::function<bool(const ZipEntry&)>& isAppleDouble, const std::stop_token& stop)
    : limit_(limit) {
  struct Companion {
    std::size_t entry;
    std::string owner;
  };
  std::vector<Companion> companions;
  items_.reserve(entries.size() + 1);
  items_.push_back(
      {.name = {}, .parent = kRoot, .kind = ZipEntryKind::folder, .entry = {}, .appleDouble = {}, .children = {}});
  for (std::size_t i = 0; i < entries.size(); ++i) {
    if (stop.stop_requested()) throw QuillonCancellationError();
    const ZipEntry& entry = entries[i];
    if (entry.path.empty() || isAppleDoubleFolder(entry)) continue;
    const auto name = entry.kind == ZipEntryKind::file ? appleDoubleName(entry.path) : std::nullopt;
    if (name && (name->isInOwnFolder || isAppleDouble(entry))) {
      companions.push_back({i, name->owner});
    } else {
      add(entry, i);
    }
  }
  for (const Companion& companion : companions) attach(entries[companion.entry], companion.entry, companion.owner);
}

std::string ArchiveTree::path(std::size_t item) const {
  std::string path;
  for (; item != kRoot; item = items_[item].parent) {
    if (!path.empty()) path.insert(0, 1, '/');
    path.insert(0, items_[item].name);
  }
  return path;
}

void ArchiveTree::add(const ZipEntry& entry, std::size_t index) {
  const std::vector<std::string_view> components = pathComponents(entry.path);
  std::size_t parent = kRoot;
  for (std::size_t i = 0; i + 1 < components.size(); ++i) parent = folderAt(parent, components[i], entry);
  const std::string_view name = components.back();
  const auto existing = childCalled(parent, name);
  if (!existing) {
    items_[append(parent, name, entry.kind)].entry = index;
    return;
  }
  ArchiveItem& item = items_[*existing];
  if (item.name != name) {
    throw ZipArchiveError::entry(entry.path, "has a name that differs from " + quotedArchiveName(path(*existing)) +
                                                 " in case or composition of characters only");
  }
  if (item.entry || item.kind != entry.kind) throw ZipArchiveError::entry(entry.path, "is there twice");
  item.entry = index;
}

std::size_t ArchiveTree::folderAt(std::size_t parent, std::string_view name, const ZipEntry& entry) {
  const auto existing = childCalled(parent, name);
  if (!existing) return append(parent, name, ZipEntryKind::folder);
  const ArchiveItem& item = items_[*existing];
  if (item.name != name) {
    throw ZipArchiveError::entry(entry.path, "lies in a folder whose name differs from " +
                                                 quotedArchiveName(path(*existing)) +
                                                 " in case or composition of characters only");
  }
  if (item.kind == ZipEntryKind::symbolicLink)
    throw ZipArchiveError::entry(entry.path, "leads through a symbolic link");
  if (item.kind != ZipEntryKind::folder)
    throw ZipArchiveError::entry(entry.path, "lies in something that is no folder");
  return *existing;
}

std::optional<std::size_t> ArchiveTree::childCalled(std::size_t parent, std::string_view name) const {
  const auto found = byKey_.find(Key{parent, collisionKey(name)});
  return found == byKey_.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::size_t> ArchiveTree::itemAt(std::string_view path) const {
  std::size_t item = kRoot;
  for (const std::string_view name : pathComponents(path)) {
    const auto child = childCalled(item, name);
    if (!child || items_[*child].name != name) return std::nullopt;
    item = *child;
  }
  return item;
}

std::size_t ArchiveTree::append(std::size_t parent, std::string_view name, ZipEntryKind kind) {
  const std::size_t item = items_.size();
  if (item > limit_) {  // the root does not count
    throw ZipArchiveError("The archive is refused: it unpacks to more than " + std::to_string(limit_) + " items.");
  }
  items_.push_back(
      {.name = std::string(name), .parent = parent, .kind = kind, .entry = {}, .appleDouble = {}, .children = {}});
  items_[parent].children.push_back(item);
  byKey_.emplace(Key{parent, collisionKey(name)}, item);
  return item;
}

void ArchiveTree::attach(const ZipEntry& entry, std::size_t index, std::string_view owner) {
  const auto item = itemAt(owner);
  // An AppleDouble file without its file says nothing about anything here.
  if (!item || *item == kRoot) return;
  if (items_[*item].appleDouble) throw ZipArchiveError::entry(entry.path, "is a second AppleDouble file of one item");
  items_[*item].appleDouble = index;
}

void ArchiveTree::checkLinkTarget(std::size_t item, std::string_view target) const {
  const auto refuse = [&] {
    throw ZipArchiveError::entry(path(item), "is a symbolic link that leads out of the destination");
  };
  if (target.starts_with('/')) refuse();
  std::optional<std::size_t> place = items_[item].parent;
  std::size_t depthBelowPlace = 0;  // folders passed that the archive does not have
  bool isBehindLink = false;
  for (const std::string_view component : pathComponents(target)) {
    if (component.empty() || component == ".") continue;
    if (component == "..") {
      if (isBehindLink || (depthBelowPlace == 0 && *place == kRoot)) refuse();
      depthBelowPlace > 0 ? static_cast<void>(--depthBelowPlace) : static_cast<void>(place = items_[*place].parent);
      continue;
    }
    const auto child = depthBelowPlace == 0 ? childCalled(*place, component) : std::nullopt;
    if (!child) {
      ++depthBelowPlace;
      continue;
    }
    place = child;
    if (items_[*child].kind == ZipEntryKind::symbolicLink) isBehindLink = true;
  }
}

}  // namespace quillon
