#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "CodeSignature/FileOpening.h"

namespace quillon {

enum class FolderEntryKind : std::uint8_t { file, folder, link, other };

struct FolderEntry {
  std::string name;
  FolderEntryKind kind = FolderEntryKind::other;
};

/// Everything in `folder` but "." and "..", sorted by the bytes of the names. Throws QuillonSystemError.
[[nodiscard]] std::vector<FolderEntry> readFolder(const FileDescriptor& folder);

/// Text of the link `name` in `folder`. Throws QuillonSystemError.
[[nodiscard]] std::string readLink(int folder, const std::string& name);

}  // namespace quillon
