#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "CodeSignature/FileOpening.h"
#include "CodeSignature/ResourceRules.h"

namespace quillon {

enum class ScannedResourceKind : std::uint8_t { file, link, nestedCode };

/// Something in a bundle that its seal must know.
struct ScannedResource {
  /// Relative to the support folder.
  std::string path;
  ScannedResourceKind kind = ScannedResourceKind::file;
  /// Text of a link.
  std::string linkText;
  bool isOptional = false;
  /// Whether it stands where the rules expect code, so that an object file is sealed as code rather than by its hash.
  bool isAtNestedPlace = false;
};

/// Walks the support folder of a bundle by folder descriptors, never following a link, and lists what `rules` seal, in
/// the order of folders, names sorted. Signature files and the main executable (a path below the support folder), which
/// the code directory covers, are left out. A folder under a nested rule whose name has a period is one piece of nested
/// code and is not entered.
///
/// Throws CodeSignatureError: unsupportedResource for anything that is not a file, folder or link, badResource for a
/// link at a place that the rules omit, folderSettingsLinkRefused, notReadable; its details name the item below
/// `displayPath`.
[[nodiscard]] std::vector<ScannedResource> scanResources(const FileDescriptor& support, const ResourceRules& rules,
                                                         const std::string& mainExecutable,
                                                         const std::string& displayPath);

/// Whether `path` (below the support folder) is never sealed, whatever the rules say: the signature's own folder, and
/// three files, the main executable and what is handed out with a program after it was signed.
[[nodiscard]] bool isExcludedFromSealing(const std::string& path, const std::string& mainExecutable);

}  // namespace quillon
