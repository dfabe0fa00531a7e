#pragma once

#include <cstdint>
#include <vector>

#include "ZipArchive/Posix/ArchiveFile.h"
#include "ZipArchive/ZipArchiveLimits.h"
#include "ZipArchive/ZipEntry.h"

namespace quillon {

/// The entries of an archive, in its central directory's order, with the places of their data.
///
/// The reading is strict, so that no other reader sees another archive in the same bytes: the directory ends where the
/// records of the archive's end begin, these end with the file, and the local header of each entry says the same as the
/// directory. No byte belongs to two entries. Throws ZipArchiveError, and QuillonSystemError when reading fails.
[[nodiscard]] std::vector<ZipEntry> readZipDirectory(const ArchiveFile& archive, const ZipArchiveLimits& limits);

}  // namespace quillon
