#pragma once

#include <cstddef>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "CodeSignature/FileHashing.h"
#include "CodeSignature/FileOpening.h"

namespace quillon {

/// Hashes files of a bundle on all processors. `paths` are relative to `support`; files of one folder should stand next
/// to each other, so that the folder is opened once for many of them.
///
/// `isSidebandRefused` throws CodeSignatureError(sidebandDataRefused) for a file with a resource fork or Finder
/// information in its extended attributes. `onHashed` gets the index of a path and its hashes; it is called on several
/// threads at once, each index once. A file that is no regular file, or is gone, has no hashes. Throws
/// CodeSignatureError(notReadable).
void hashResources(const FileDescriptor& support, const std::vector<std::string>& paths,
                   const std::set<CodeHashType>& types, bool isSidebandRefused,
                   const std::function<void(std::size_t index, const CodeHashes& hashes)>& onHashed);

/// Whether the open file or folder carries a resource fork or Finder information.
[[nodiscard]] bool hasSidebandData(const FileDescriptor& item);

}  // namespace quillon
