#pragma once

#include <string>
#include <vector>

namespace quillon {

/// Names in the folder open as `folder`, in the file system's order, without "." and "..". The descriptor stays open,
/// its position is moved. Throws QuillonSystemError.
[[nodiscard]] std::vector<std::string> directoryNames(int folder, const std::string& path);

}  // namespace quillon
