#include "CodeSignature/DesignatedRequirement.h"

#include "CodeSignature/ObjectIdentifier.h"

namespace quillon {
namespace {

constexpr std::string_view kDeveloperIDLeafMarker = "1.2.840.113635.100.6.1.13";
constexpr std::string_view kDeveloperIDAuthorityMarker = "1.2.840.113635.100.6.2.6";
constexpr std::string_view kDeveloperRelationsAuthorityMarker = "1.2.840.113635.100.6.2.1";

RequirementExpression both(RequirementExpression left, RequirementExpression right) {
  RequirementExpression result{.operation = RequirementOperator::conjunction};
  result.operands.push_back(std::move(left));
  result.operands.push_back(std::move(right));
  return result;
}

RequirementExpression identifierIs(const std::string& identifier) {
  return {.operation = RequirementOperator::identifier, .text = identifier};
}

RequirementExpression hasExtension(std::int32_t position, std::string_view dotted) {
  return {.operation = RequirementOperator::certificateExtension,
          .number = position,
          .text = objectIdentifierContent(dotted).value()};
}

RequirementExpression subjectFieldIs(const std::string& field, const std::string& value) {
  return {.operation = RequirementOperator::certificateField,
          .number = kLeafCertificate,
          .text = field,
          .match = {.operation = RequirementMatchOperator::equal, .value = value}};
}

bool carries(const CertificateFacts* certificate, std::string_view marker) {
  return certificate != nullptr && certificate->extensions.contains(objectIdentifierContent(marker).value());
}

RequirementExpression vendorAnchoredRequirement(const std::string& identifier, const CertificateChain& chain) {
  RequirementExpression anchored =
      both(identifierIs(identifier), {.operation = RequirementOperator::anchorAppleGeneric});
  const CertificateFacts* authority = chain.certificateAt(1);
  if (carries(authority, kDeveloperIDAuthorityMarker) && carries(&chain.leaf(), kDeveloperIDLeafMarker)) {
    anchored = both(std::move(anchored), hasExtension(1, kDeveloperIDAuthorityMarker));
    anchored = both(std::move(anchored), hasExtension(kLeafCertificate, kDeveloperIDLeafMarker));
    return both(std::move(anchored),
                subjectFieldIs("subject.OU", chain.leaf().subjectValue("OU").value_or(std::string())));
  }
  if (carries(authority, kDeveloperRelationsAuthorityMarker)) {
    anchored = both(std::move(anchored),
                    subjectFieldIs("subject.CN", chain.leaf().subjectValue("CN").value_or(std::string())));
    return both(std::move(anchored), hasExtension(1, kDeveloperRelationsAuthorityMarker));
  }
  return both(identifierIs(identifier), {.operation = RequirementOperator::anchorApple});
}

RequirementExpression hashRequirement(const std::vector<std::string>& hashes) {
  RequirementExpression result{.operation = RequirementOperator::never};
  for (const std::string& hash : hashes) {
    RequirementExpression next{.operation = RequirementOperator::codeDirectoryHash, .text = hash};
    if (result.operation == RequirementOperator::never) {
      result = std::move(next);
      continue;
    }
    RequirementExpression either{.operation = RequirementOperator::disjunction};
    either.operands.push_back(std::move(result));
    either.operands.push_back(std::move(next));
    result = std::move(either);
  }
  return result;
}

}  // namespace

RequirementExpression organizationRequirement(const std::string& identifier, const CertificateChain& chain) {
  const std::optional<std::string> organization = chain.leaf().subjectValue("O");
  std::size_t position = 0;
  if (organization) {
    while (position + 1 < chain.certificates.size() &&
           chain.certificates[position + 1].subjectValue("O") == organization) {
      ++position;
    }
  }
  const bool isRoot = position > 0 && position + 1 == chain.certificates.size();
  return both(identifierIs(identifier), {.operation = RequirementOperator::certificateHash,
                                         .number = isRoot ? kRootCertificate : static_cast<std::int32_t>(position),
                                         .text = chain.certificates[position].sha1});
}

RequirementExpression derivedDesignatedRequirement(const std::string& identifier,
                                                   const std::vector<std::string>& codeDirectoryHashes,
                                                   const CertificateChain* chain) {
  if (chain == nullptr) return hashRequirement(codeDirectoryHashes);
  if (chain->isAnchoredByApple) return vendorAnchoredRequirement(identifier, *chain);
  return organizationRequirement(identifier, *chain);
}

}  // namespace quillon
