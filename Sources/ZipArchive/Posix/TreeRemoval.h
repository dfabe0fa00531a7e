#pragma once

#include <string>

namespace quillon {

/// Removes `name` in an open folder and everything in it, following no link. Throws QuillonSystemError.
void removeTree(int folder, const std::string& name);

}  // namespace quillon
