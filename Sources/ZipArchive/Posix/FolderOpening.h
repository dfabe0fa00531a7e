#pragma once

#include <string>
#include <string_view>

#include "QuillonCore/Runtime/Posix/FileDescriptor.h"

namespace quillon {

/// The folder `name` in an open folder. A symbolic link is not followed. Throws QuillonSystemError.
[[nodiscard]] FileDescriptor openSubfolder(int folder, const std::string& name);

/// The folder at `path` (components separated by "/") below an open folder, reached component by component without
/// following a link; for an empty path that folder itself. Throws QuillonSystemError.
[[nodiscard]] FileDescriptor openFolderBelow(int folder, std::string_view path);

/// Writes all of `bytes` at the file's position. `name` is for errors. Throws QuillonSystemError.
void writeAll(int file, std::string_view bytes, std::string_view name);

}  // namespace quillon
