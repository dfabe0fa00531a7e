#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

/// Tells one item of a file system from every other, as long as it exists.
struct QuillonFileIdentity {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;

  friend bool operator==(const QuillonFileIdentity&, const QuillonFileIdentity&) = default;
};

enum class QuillonFileType : std::uint8_t { regular, directory, symbolicLink, other };

/// What a file system says of one item, links not followed.
struct QuillonFileStatus {
  QuillonFileType type = QuillonFileType::other;
  QuillonFileIdentity identity;
  std::uint32_t userIdentifier = 0;
  std::uint32_t groupIdentifier = 0;
  /// Permission bits of `<sys/stat.h>`, set-id and sticky bits included.
  std::uint32_t permissions = 0;
  std::uint64_t linkCount = 0;
  std::uint64_t size = 0;
  /// Last change of the item's attributes or place, in nanoseconds since 1970.
  std::int64_t changeTimeNanoseconds = 0;

  friend bool operator==(const QuillonFileStatus&, const QuillonFileStatus&) = default;
};

/// An item of which an operation over a whole tree could not be done.
struct QuillonFileFailure {
  QuillonURL itemURL;
  /// The `errno` value.
  int code = 0;

  friend bool operator==(const QuillonFileFailure&, const QuillonFileFailure&) = default;
};

/// A folder held by a descriptor: its `url()` leads to that very folder even when somebody renames it or a folder above
/// it, and never to another one. Valid in this process and its children while the object lives.
class QuillonPinnedDirectory {
 public:
  virtual ~QuillonPinnedDirectory() = default;
  [[nodiscard]] virtual const QuillonURL& url() const noexcept = 0;
};

/// The file system.
///
/// Every location is a file URL. Operations that fail throw QuillonSystemError of the POSIX domain. A last component
/// that is a symbolic link is never followed, unless an operation says so. In a privileged process (effective user id
/// 0) no operation passes through a symbolic link on the way that anyone else could have made: it fails with ELOOP.
///
/// Implementations hold no mutable state and may be called from any thread.
class QuillonFileManaging {
 public:
  virtual ~QuillonFileManaging() = default;

  // Looking

  /// Of the item itself; absent when there is none.
  [[nodiscard]] virtual std::optional<QuillonFileStatus> itemStatus(const QuillonURL& item) const = 0;
  /// Whether `item`, links followed, exists. Any failure answers false.
  [[nodiscard]] virtual bool fileExists(const QuillonURL& item) const noexcept = 0;
  /// Whether `item`, links followed, is a folder. Any failure answers false.
  [[nodiscard]] virtual bool directoryExists(const QuillonURL& item) const noexcept = 0;
  /// Whether `item`, links followed, is a regular file that this process may execute. Any failure answers false.
  [[nodiscard]] virtual bool isExecutableFile(const QuillonURL& item) const noexcept = 0;
  /// Whether `item`, links followed, is a folder in which this process may create items. Any failure answers false.
  [[nodiscard]] virtual bool isWritableDirectory(const QuillonURL& item) const noexcept = 0;
  /// The bytes of a regular file. Throws EFBIG when it holds more than `limit`, EISDIR or EINVAL when it is no file.
  [[nodiscard]] virtual std::string contentsOfFile(const QuillonURL& file, std::size_t limit) const = 0;
  /// Names in a folder, sorted by bytes, without "." and "..".
  [[nodiscard]] virtual std::vector<std::string> contentsOfDirectory(const QuillonURL& directory) const = 0;
  /// The item's location with all links followed and ".." resolved.
  [[nodiscard]] virtual QuillonURL resolvingSymbolicLinks(const QuillonURL& item) const = 0;
  /// A path that leads other programs to `item`. Not every program takes the path of a pinned folder; where it does
  /// not, this is the item's path at the moment, and who hands it out compares identities before and after its use.
  [[nodiscard]] virtual std::string pathForOtherPrograms(const QuillonURL& item) const { return item.path(); }
  /// Holds on to the folder `directory`, itself no link.
  [[nodiscard]] virtual std::unique_ptr<QuillonPinnedDirectory> pinDirectory(const QuillonURL& directory) const = 0;
  /// Whose rights the operations have, and whose the files are that they create.
  [[nodiscard]] virtual std::uint32_t effectiveUserIdentifier() const noexcept = 0;
  /// The folder for files that nobody misses after a while.
  [[nodiscard]] virtual QuillonURL temporaryDirectory() const = 0;
  /// The user's Application Support folders, the preferred one first. Empty when the user has no home.
  [[nodiscard]] virtual std::vector<QuillonURL> applicationSupportDirectories() const = 0;

  // Changing

  /// Creates a folder and the missing ones above it. What a privileged process creates belongs to the owner and group
  /// of the folder around it. A folder that exists is left as it is.
  virtual void createDirectory(const QuillonURL& directory) const = 0;
  /// Creates one folder that only this user can enter (mode 0700), and holds on to it. Throws EEXIST when anything is
  /// there, ESTALE when somebody put something else in its place at once.
  [[nodiscard]] virtual std::unique_ptr<QuillonPinnedDirectory> createPrivateDirectory(
      const QuillonURL& directory) const = 0;
  /// Writes a file as a whole (mode 0644): through a file of another name, flushed to disk, and a rename.
  virtual void writeFileAtomically(const QuillonURL& file, std::string_view bytes) const = 0;
  /// Creates a file that must not exist (mode 0600).
  virtual void createFile(const QuillonURL& file, std::string_view bytes) const = 0;
  /// Renames an item within its volume. Throws EEXIST when anything is at `destination`, EXDEV for another volume.
  virtual void moveItem(const QuillonURL& item, const QuillonURL& destination) const = 0;
  /// Copies a file, link or tree to a place where nothing is: contents, links, modes, times, extended attributes, and
  /// ownership where the process may set it; set-id bits are dropped. All of it is on disk on return; after a failure
  /// nothing is left at `destination`. Throws EINVAL at an item that is no file, folder or link.
  virtual void copyItem(const QuillonURL& item, const QuillonURL& destination) const = 0;
  /// Removes an item and everything below it.
  virtual void removeItem(const QuillonURL& item) const = 0;
  virtual void removeEmptyDirectory(const QuillonURL& directory) const = 0;
  /// Changes owner and group of the item itself.
  virtual void changeOwner(const QuillonURL& item, std::uint32_t userIdentifier,
                           std::uint32_t groupIdentifier) const = 0;
  /// Changes owner and group of every item below `directory`, at all depths; stops at the first failure.
  virtual void changeOwnerOfDescendants(const QuillonURL& directory, std::uint32_t userIdentifier,
                                        std::uint32_t groupIdentifier) const = 0;
  /// Changes owner and group of a file if `mayBeChanged` says yes to its status and its bytes (at most `limit`), all
  /// through one descriptor. Answers whether it was changed; false for anything but a regular file with one name.
  virtual bool changeOwnerOfFile(const QuillonURL& file, std::uint32_t userIdentifier, std::uint32_t groupIdentifier,
                                 std::size_t limit, bool (*mayBeChanged)(std::string_view bytes)) const = 0;
  /// Takes the quarantine mark off `root` and every item below it, going on after failures.
  /// Returns the first item that kept its mark. An item that cannot carry the mark counts as released.
  virtual std::optional<QuillonFileFailure> releaseQuarantine(const QuillonURL& root) const = 0;
  /// Brings all that was changed on the volume of `directory`, folder entries included, to disk.
  virtual void synchronizeVolume(const QuillonURL& directory) const = 0;
};

}  // namespace quillon
