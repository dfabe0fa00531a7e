#pragma once

#include <fcntl.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "QuillonCore/Runtime/Posix/FileDescriptor.h"

namespace quillon {

/// Opens the folder `path` below `folder` for reading; its last component must not be a link. With AT_FDCWD, `path` may
/// be absolute. Throws QuillonSystemError.
[[nodiscard]] FileDescriptor openFolder(int folder, const std::string& path);

/// Opens what stands at `path`, several components below `folder`, without following any link on the way and without
/// leaving `folder`. An empty path is the folder itself. Throws QuillonSystemError.
[[nodiscard]] FileDescriptor openFolderBeneath(int folder, const std::string& path);

/// Opens the regular file `name` in `folder`, never following a link and never waiting for a FIFO's other end. Throws
/// QuillonSystemError; for anything that is not a regular file its code is ELOOP (a link), EISDIR (a folder) or ENXIO
/// (everything else).
[[nodiscard]] FileDescriptor openRegularFile(int folder, const std::string& name);

/// Length of an open file in bytes. Throws QuillonSystemError.
[[nodiscard]] std::uint64_t fileLength(const FileDescriptor& file);

/// Reads from `offset` on into `block`, and says how many bytes there were; 0 at the end. Leaves the file's own
/// position alone. Throws QuillonSystemError.
[[nodiscard]] std::size_t readFileAt(const FileDescriptor& file, std::uint64_t offset, std::span<char> block);

/// All bytes of an open file. Throws QuillonSystemError, EFBIG when there are more than `limit`.
[[nodiscard]] std::string readWholeFile(const FileDescriptor& file, std::size_t limit);

}  // namespace quillon
