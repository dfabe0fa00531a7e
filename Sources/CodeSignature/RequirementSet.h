#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "CodeSignature/RequirementExpression.h"

namespace quillon {

/// What a requirement of a set is for, with the numbers of the format (requirement.h).
enum class RequirementPurpose : std::uint32_t { host = 1, guest = 2, designated = 3, library = 4, plugIn = 5 };

using RequirementSet = std::map<RequirementPurpose, RequirementExpression>;

/// Reads a set blob (magic 0xfade0c01), all of `blob`. Throws CodeSignatureError as `parseRequirementBlob` does.
[[nodiscard]] RequirementSet parseRequirementSet(std::string_view blob);

/// The blob of `set`; 12 bytes when it is empty.
[[nodiscard]] std::string buildRequirementSet(const RequirementSet& set);

}  // namespace quillon
