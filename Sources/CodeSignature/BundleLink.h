#pragma once

#include <string>
#include <vector>

#include "CodeSignature/FileOpening.h"
#include "CodeSignature/ResourceRules.h"

namespace quillon {

/// A bundle whose seal covers things, as seen from the outermost bundle. Borrows everything.
struct SealedScope {
  /// Path of the support folder below the outermost bundle: "Contents" for that bundle itself, empty when it is that
  /// bundle's own folder.
  std::string support;
  const ResourceRules* rules = nullptr;
  const std::string* mainExecutable = nullptr;
};

/// `path` in `folder`, both below the same place; either may be empty.
[[nodiscard]] std::string joinedPath(const std::string& folder, const std::string& path);

/// Whether a link in a bundle may lead where it does: to something that exists inside the outermost bundle and that one
/// of `scopes` seals, or by an absolute path into the platform's own `/System/` or `/Library/`. Other links are
/// followed step by step by descriptor, never out of the outermost bundle. `linkPath` is relative to `outermost`.
[[nodiscard]] bool isSealedDestination(const FileDescriptor& outermost, const std::string& linkPath,
                                       const std::string& linkText, const std::vector<SealedScope>& scopes);

}  // namespace quillon
