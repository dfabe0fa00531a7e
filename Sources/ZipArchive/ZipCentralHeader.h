#pragma once

#include "ZipArchive/ZipArchiveLimits.h"
#include "ZipArchive/ZipByteReader.h"
#include "ZipArchive/ZipEntry.h"

namespace quillon {

/// Reads the next header of a central directory. Times without time zone are those of this process's zone.
///
/// Throws ZipArchiveError for a damaged header and for an entry that is refused: encrypted, compressed in another way
/// than "stored" or "deflated", neither file nor folder nor symbolic link, with an unsafe name, or promising more bytes
/// than its compressed ones can yield.
[[nodiscard]] ZipEntry readZipCentralHeader(ZipByteReader& reader, const ZipArchiveLimits& limits);

}  // namespace quillon
