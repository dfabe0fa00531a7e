#pragma once

#include <optional>
#include <string>
#include <vector>

#include "CodeSignature/CertificateChain.h"
#include "CodeSignature/RequirementExpression.h"

namespace quillon {

/// The requirement that stands for code which names none itself: its hashes when it is ad-hoc (`chain` null), else its
/// identifier together with what its certificates say about the signer.
[[nodiscard]] RequirementExpression derivedDesignatedRequirement(const std::string& identifier,
                                                                 const std::vector<std::string>& codeDirectoryHashes,
                                                                 const CertificateChain* chain);

/// "identifier I and certificate SLOT = H…", SLOT being the last certificate up the chain whose organization is that of
/// the leaf: every certificate that the same organization signs with meets it.
[[nodiscard]] RequirementExpression organizationRequirement(const std::string& identifier,
                                                            const CertificateChain& chain);

}  // namespace quillon
