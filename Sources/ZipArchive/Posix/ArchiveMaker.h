#pragma once

#include <stop_token>
#include <string>

#include "ZipArchive/ZipArchiveLimits.h"

namespace quillon {

/// Whether the archive holds the source folder itself or only what is in it.
enum class ArchiveRoot { contents, sourceItself };

/// Makes a zip archive of `source`, a folder or a file, at `archivePath`. Uses all processors; memory does not grow
/// with the sizes of files. The same tree gives the same bytes in the same time zone.
///
/// Names, symbolic links, permissions, times (in seconds) and extended attributes are kept, the latter as AppleDouble
/// files where macOS looks for them. The archive replaces an older one at once when it is complete and on disk.
///
/// What `extractArchive` would refuse with the same `limits` is not made: throws ZipArchiveError for special files,
/// links that lead out, names that are no UTF-8, too long, alike but for case, or kept for attributes, AppleDouble
/// files, files that change while they are read, the archive itself, and trees beyond the limits. Throws
/// QuillonSystemError, and QuillonCancellationError on `stop`. After an exception nothing has changed.
void makeArchive(const std::string& source, const std::string& archivePath, ArchiveRoot root,
                 const ZipArchiveLimits& limits, const std::stop_token& stop);

}  // namespace quillon
