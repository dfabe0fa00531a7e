#pragma once

#include <cstdint>

#include "ZipArchive/Posix/ArchiveFile.h"
#include "ZipArchive/ZipEntry.h"

namespace quillon {

/// Where the data of `entry` begins: behind its local header, which is read and has to say the same as the directory.
///
/// Throws ZipArchiveError when it does not, or when header or data reach beyond `limit`, where the directory begins.
[[nodiscard]] std::uint64_t zipDataOffset(const ArchiveFile& archive, const ZipEntry& entry, std::uint64_t limit);

}  // namespace quillon
