#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "QuillonCore/Values/QuillonURL.h"

// What the systems do differently below the file manager; each is defined once in each platform's folder.

namespace quillon {

/// A path that leads to the folder open as `descriptor`, whatever it is called, for this process and its children.
[[nodiscard]] std::string pathOfOpenDirectory(int descriptor);

/// Whether every program resolves what pathOfOpenDirectory makes, while this process runs.
[[nodiscard]] bool otherProgramsTakePathsOfOpenDirectories() noexcept;

/// Where the folder open as `descriptor` is at present, for messages; "…" when the system cannot tell.
[[nodiscard]] std::string currentPathOfOpenDirectory(int descriptor);

/// A path that begins with what pathOfOpenDirectory made in this process.
struct QuillonOpenDirectoryPath {
  int descriptor;
  /// What follows.
  std::string_view rest;
};

/// `path` taken apart when it begins with a folder that this process holds open. Paths through other processes'
/// descriptors are not recognised: those processes choose where they lead.
[[nodiscard]] std::optional<QuillonOpenDirectoryPath> openDirectoryInPath(std::string_view path) noexcept;

/// renameat(2) that fails with EEXIST when anything is at the new name. 0, or -1 with errno.
[[nodiscard]] int renameWithoutReplacing(int fromFolder, const char* fromName, int toFolder,
                                         const char* toName) noexcept;

/// When an item was last read, written and changed in any way.
struct QuillonFileTimes {
  timespec access{};
  timespec modification{};
  timespec change{};
};

/// The times in `status`, whose fields have different names.
[[nodiscard]] QuillonFileTimes fileTimes(const struct stat& status) noexcept;

/// Gives an item another owner and group, a link its own. 0, or the errno value.
[[nodiscard]] int changeOwnerOfItem(int folder, const char* name, uid_t user, gid_t group) noexcept;

/// Takes away what an open folder grants beside its mode, as by an access list inherited from the folder around it. 0,
/// or the errno value.
[[nodiscard]] int restrictToMode(int folder) noexcept;

/// Takes the quarantine mark off one item, links not followed. 0, also for an item without mark, or the errno value.
/// `isFileOrDirectory` is false for links and special files.
[[nodiscard]] int removeQuarantineMark(int folder, const char* name, bool isFileOrDirectory) noexcept;

/// Copies the extended attributes of an open file or folder to another: in a privileged process only those that give
/// nobody rights. 0, or the errno value.
[[nodiscard]] int copyExtendedAttributes(int from, int to) noexcept;

/// Copies at most the first `size` bytes of one open file to another, sharing blocks where the file system can. 0, or
/// the errno value.
[[nodiscard]] int copyFileContents(int from, int to, std::uint64_t size) noexcept;

/// Brings everything written to the volume of an open folder to disk. 0, or the errno value.
[[nodiscard]] int synchronizeVolume(int folder) noexcept;

/// The user's Application Support folders, by the platform's convention.
[[nodiscard]] std::vector<QuillonURL> systemApplicationSupportDirectories();

}  // namespace quillon
