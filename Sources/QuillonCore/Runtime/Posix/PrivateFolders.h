#pragma once

#include "QuillonCore/Contracts/QuillonFileManaging.h"

namespace quillon {

/// Makes `folder` and the missing ones above it, for this user alone (mode 0700). Folders that exist stay as they are.
/// Throws QuillonSystemError.
void createPrivateFolders(const QuillonFileManaging& fileManager, const QuillonURL& folder);

}  // namespace quillon
