#pragma once

#include <functional>
#include <stop_token>
#include <string>

#include "ZipArchive/ZipArchiveLimits.h"

namespace quillon {

/// Told of an item that is complete, by its path below the destination. Called on the thread that made it; files are
/// made on several at once.
using ExtractedItemHandler = std::function<void(const std::string& path)>;

/// Unpacks the zip archive at `archivePath` into the folder `destination`, which is made when it is missing. Uses all
/// processors; memory does not grow with the sizes of entries.
///
/// Everything is unpacked into a hidden folder in the destination first and moved into place at the end: folders that
/// are there already are filled up and keep their permissions, other items that are there are replaced. After an
/// exception the destination is as it was before, and nothing outside of it was touched in any case.
///
/// Permissions (without set-user, set-group and sticky bits), modification times, symbolic links and the attributes of
/// AppleDouble files are restored. Throws ZipArchiveError for an archive that is refused, QuillonSystemError when the
/// system refuses something, and QuillonCancellationError on `stop`, which counts until everything is unpacked and
/// `didFinishItem` was told of it; the move into place is not stopped.
void extractArchive(const std::string& archivePath, const std::string& destination, const ZipArchiveLimits& limits,
                    const std::stop_token& stop, const ExtractedItemHandler& didFinishItem = {});

}  // namespace quillon
