#pragma once

#include <string_view>

namespace quillon {

/// Copies the item `fromFolder`/`fromName` to `toFolder`/`toName`, where nothing may be, as
/// QuillonFileManaging::copyItem says. What was made before a failure stays; the caller removes it.
void copyTree(int fromFolder, const char* fromName, int toFolder, const char* toName, std::string_view path);

}  // namespace quillon
