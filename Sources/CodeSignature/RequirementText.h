#pragma once

#include <string>
#include <string_view>

#include "CodeSignature/RequirementExpression.h"

namespace quillon {

/// Reads one requirement in its text form (`identifier "a.b" and certificate leaf = H"…"`), as resource seals record
/// them. Throws CodeSignatureError(requirementInvalid).
[[nodiscard]] RequirementExpression parseRequirementText(std::string_view text);

/// The text form of `expression`; `parseRequirementText` reads it back to an equal value.
[[nodiscard]] std::string requirementText(const RequirementExpression& expression);

}  // namespace quillon
