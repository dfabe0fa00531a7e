#pragma once

#include <string>
#include <string_view>

#include "CodeSignature/RequirementExpression.h"

namespace quillon {

/// Reads one requirement blob (magic 0xfade0c00), all of `blob`. Throws CodeSignatureError: requirementUnsupported for
/// an unknown kind or operator, requirementInvalid for everything that does not fit together.
[[nodiscard]] RequirementExpression parseRequirementBlob(std::string_view blob);

/// The blob of `expression`; `parseRequirementBlob` reads it back to an equal value.
[[nodiscard]] std::string buildRequirementBlob(const RequirementExpression& expression);

}  // namespace quillon
