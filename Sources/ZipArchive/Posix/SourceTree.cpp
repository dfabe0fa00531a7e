#include "ZipArchive/Posix/SourceTree.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <map>
#include <string_view>
#include <utility>

#include "QuillonCore/Runtime/Posix/DirectoryEntries.h"
#include "QuillonCore/Values/QuillonError.h"
#include "ZipArchive/AppleDouble.h"
#include "ZipArchive/AppleDoubleName.h"
#include "ZipArchive/Posix/FolderOpening.h"
#include "ZipArchive/ZipArchiveError.h"
#include "ZipArchive/ZipEntryName.h"
#include "ZipArchive/ZipFormat.h"

namespace quillon {
namespace {

class Listing {
 public:
  explicit Listing(std::vector<SourceItem>& items) : items_(items) {}

  void add(int folder, const std::string& name, const std::string& path, const std::string& archiveName) {
    SourceItem item{.path = path, .archiveName = archiveName, .status = {}};
    if (fstatat(folder, name.c_str(), &item.status, AT_SYMLINK_NOFOLLOW) != 0) {
      throw QuillonSystemError::posix(errno, "examine", path);
    }
    checkName(path, archiveName);
    const mode_t mode = item.status.st_mode;
    if (!S_ISREG(mode) && !S_ISDIR(mode) && !S_ISLNK(mode)) {
      throw ZipArchiveError(quotedArchiveName(path) + " is a special file, which an archive cannot hold.");
    }
    if (S_ISREG(mode)) checkContent(folder, name, item);
    items_.push_back(std::move(item));
    if (S_ISDIR(mode)) addContents(openSubfolder(folder, name).get(), path, archiveName);
  }

  void addContents(int folder, const std::string& path, const std::string& archiveName) {
    std::vector<DirectoryEntry> entries = directoryEntries(folder, path);
    std::sort(entries.begin(), entries.end(),
              [](const DirectoryEntry& a, const DirectoryEntry& b) { return a.name < b.name; });
    std::map<std::string, std::string> namesByKey;
    for (const DirectoryEntry& entry : entries) {
      const auto [other, isFirst] = namesByKey.emplace(collisionKey(entry.name), entry.name);
      if (!isFirst) {
        throw ZipArchiveError(quotedArchiveName(below(path, entry.name)) + " has a name that differs from " +
                              quotedArchiveName(other->second) + " in case or composition of characters only.");
      }
      add(folder, entry.name, below(path, entry.name), below(archiveName, entry.name));
    }
  }

 private:
  /// Refuses what could not be unpacked again.
  static void checkName(const std::string& path, const std::string& archiveName) {
    if (!isUTF8(archiveName)) throw ZipArchiveError("The name " + quotedArchiveName(path) + " is no UTF-8.");
    (void)checkedZipName(archiveName, kZipHostUnix, {});
    if (collisionKey(archiveName) == collisionKey(kAppleDoubleFolder)) {
      throw ZipArchiveError(quotedArchiveName(path) + " has the name of the folder in which archives keep attributes.");
    }
  }

  /// Refuses a file that unpacking would not leave a file.
  static void checkContent(int folder, const std::string& name, const SourceItem& item) {
    if (!appleDoubleName(item.archiveName)) return;
    const FileDescriptor file(openat(folder, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    std::array<char, 4> magic{};
    const ssize_t length = file ? read(file.get(), magic.data(), magic.size()) : -1;
    if (length < 0) throw QuillonSystemError::posix(errno, "read", item.path);
    if (isAppleDouble({magic.data(), static_cast<std::size_t>(length)})) {
      throw ZipArchiveError(quotedArchiveName(item.path) +
                            " is an AppleDouble file, which unpacking would take for attributes of another item.");
    }
  }

  static std::string below(const std::string& path, const std::string& name) {
    return path.empty() ? name : path + "/" + name;
  }

  std::vector<SourceItem>& items_;
};

std::string_view withoutTrailingSlashes(std::string_view path) {
  while (path.size() > 1 && path.ends_with('/')) path.remove_suffix(1);
  return path;
}

/// A path taken apart: the folder that is opened, and the name in it. "." and ".." are not names of items.
struct Location {
  std::string folder;
  std::string name;
};

Location locate(const std::string& source) {
  const std::string_view path = withoutTrailingSlashes(source);
  const std::size_t slash = path.rfind('/');
  const std::string_view name = slash == std::string_view::npos ? path : path.substr(slash + 1);
  const std::string_view folder =
      slash == std::string_view::npos ? "." : path.substr(0, std::max<std::size_t>(slash, 1));
  return {std::string(folder), std::string(name)};
}

FileDescriptor openFolder(const std::string& path) {
  FileDescriptor folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!folder) throw QuillonSystemError::posix(errno, "open", path);
  return folder;
}

}  // namespace

SourceTree readSourceTree(const std::string& source, ArchiveRoot root) {
  struct stat status {};
  if (stat(source.c_str(), &status) != 0) throw QuillonSystemError::posix(errno, "open", source);
  SourceTree tree;
  Listing listing(tree.items);
  if (S_ISDIR(status.st_mode) && root == ArchiveRoot::contents) {
    tree.folder = openFolder(source);
    tree.isFolderSource = true;
    listing.addContents(tree.folder.get(), {}, {});
    return tree;
  }
  const Location location = locate(source);
  if (location.name.empty() || location.name == "." || location.name == "..") {
    throw ZipArchiveError("The source " + quotedArchiveName(source) + " has no name that the archive could hold.");
  }
  tree.folder = openFolder(location.folder);
  listing.add(tree.folder.get(), location.name, location.name, location.name);
  return tree;
}

}  // namespace quillon
