#pragma once

#include <stop_token>
#include <string>

namespace quillon {

/// Whether the archive holds the source folder itself or only what is in it.
enum class ArchiveRoot { contents, sourceItself };

/// Makes a zip archive of `source`, a folder or a file, at `archivePath`. Uses all processors; memory does not grow
/// with the sizes of files. The same tree gives the same bytes in the same time zone.
///
/// Names, symbolic links, permissions, times (in seconds) and extended attributes are kept, the latter as AppleDouble
/// files where macOS looks for them. The archive replaces an older one at once when it is complete and on disk.
///
/// Throws ZipArchiveError for what an archive cannot hold: special files, names that are no UTF-8, too long, alike but
/// for case, or kept for attributes, files that change while they are read, and the archive itself.
/// Throws QuillonSystemError, and QuillonCancellationError on `stop`; then nothing has changed.
void makeArchive(const std::string& source, const std::string& archivePath, ArchiveRoot root, std::stop_token stop);

}  // namespace quillon
