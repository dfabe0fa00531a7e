#pragma once

#include <set>
#include <string>

#include "CodeSignature/CertificateChain.h"
#include "CodeSignature/RequirementExpression.h"
#include "QuillonCore/Values/QuillonPropertyListValue.h"

namespace quillon {

/// What is known of the code that a requirement is put to. Pointers are borrowed and may be null.
struct RequirementSubject {
  std::string identifier;
  /// Identifying hashes of all its code directories.
  std::set<std::string, std::less<>> codeDirectoryHashes;
  /// Null for ad-hoc code.
  const CertificateChain* chain = nullptr;
  const QuillonPropertyListValue* information = nullptr;
  const QuillonPropertyListValue* entitlements = nullptr;
  std::int32_t platform = 0;
};

/// Whether the code meets the requirement. What cannot be known without the platform's services (notarization, its own
/// trust settings, named anchors) is not met.
[[nodiscard]] bool meetsRequirement(const RequirementSubject& subject, const RequirementExpression& requirement);

}  // namespace quillon
