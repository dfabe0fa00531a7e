#pragma once

#include <string>
#include <string_view>

#include "QuillonCore/Runtime/Posix/FileDescriptor.h"
#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

/// An item named by the open folder around it.
struct QuillonPosixPlace {
  FileDescriptor folder;
  std::string name;
};

/// Opens the folder at the absolute `path` for reading its entries and for use with the `…at` calls.
///
/// A privileged process walks the path component by component and refuses (ELOOP) a symbolic link that somebody else
/// than root could have put there, so that nobody leads it elsewhere between two calls. Throws QuillonSystemError;
/// `action` names what the caller is doing.
[[nodiscard]] FileDescriptor openDirectory(std::string_view path, std::string_view action);

/// The folder around `item`, opened as above, and the item's name. Throws EINVAL for "/" and for a name of "..".
[[nodiscard]] QuillonPosixPlace openPlace(const QuillonURL& item, std::string_view action);

}  // namespace quillon
