#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "CodeSignature/CodeHash.h"
#include "CodeSignature/ResourceRules.h"

namespace quillon {

/// What a seal says about one path: a file by its hashes, a link by its text, or nested code by its requirement.
struct SealedResource {
  std::map<CodeHashType, std::string> hashes = {};
  std::optional<std::string> linkText = std::nullopt;
  /// Text form of the requirement that the nested code must meet.
  std::optional<std::string> requirement = std::nullopt;
  /// Identifying hash of the nested code when it was sealed.
  std::string codeDirectoryHash = {};
  /// May be absent, but not altered.
  bool isOptional = false;
};

/// The contents of a bundle as its `CodeResources` file records them. Paths are relative to the support folder and
/// compare byte for byte.
struct ResourceSeal {
  int version = 2;
  ResourceRules rules;
  std::unordered_map<std::string, SealedResource> resources;
};

/// Reads a `CodeResources` file of any property-list format. When it has both versions of the list, only version 2
/// counts. Throws CodeSignatureError: badPropertyList, resourcesInvalid for a wrong shape, invalidResourceRules.
[[nodiscard]] ResourceSeal parseResourceSeal(std::string_view bytes);

/// The XML `CodeResources` file of a version 2 seal, with the version 1 list that older readers look at: SHA-1 hashes
/// by path under the version 1 rules. Throws QuillonPropertyListError for paths that are not UTF-8.
[[nodiscard]] std::string buildResourceSeal(const ResourceSeal& seal,
                                            const std::map<std::string, std::string>& versionOneHashes,
                                            bool hasResourcesFolder = true);

}  // namespace quillon
