#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace quillon {

/// Operators of code requirements, with their opcodes in the binary form (requirement.h).
enum class RequirementOperator : std::uint32_t {
  never = 0,
  always = 1,
  identifier = 2,
  anchorApple = 3,
  certificateHash = 4,
  infoValue = 5,
  conjunction = 6,
  disjunction = 7,
  codeDirectoryHash = 8,
  negation = 9,
  infoField = 10,
  certificateField = 11,
  certificateTrusted = 12,
  anchorTrusted = 13,
  certificateExtension = 14,
  anchorAppleGeneric = 15,
  entitlementField = 16,
  certificatePolicy = 17,
  namedAnchor = 18,
  namedCode = 19,
  platform = 20,
  notarized = 21,
  certificateTimestamp = 22,
  legacyDeveloperID = 23,
};

/// How a value of the code is compared, with the numbers of the binary form.
enum class RequirementMatchOperator : std::uint32_t {
  exists = 0,
  equal = 1,
  contains = 2,
  beginsWith = 3,
  endsWith = 4,
  lessThan = 5,
  greaterThan = 6,
  lessEqual = 7,
  greaterEqual = 8,
  onDate = 9,
  beforeDate = 10,
  afterDate = 11,
  onOrBeforeDate = 12,
  onOrAfterDate = 13,
  absent = 14,
};

struct RequirementMatch {
  RequirementMatchOperator operation = RequirementMatchOperator::exists;
  std::string value = {};
  /// Seconds since 2001-01-01 00:00 UTC, for the date operators.
  std::int64_t date = 0;

  friend bool operator==(const RequirementMatch&, const RequirementMatch&) = default;
};

/// Position of the signer's certificate in the chain, and of the root.
inline constexpr std::int32_t kLeafCertificate = 0;
inline constexpr std::int32_t kRootCertificate = -1;

/// How deep expressions may nest, in both forms: evaluation recurses.
inline constexpr int kRequirementDepthLimit = 200;

/// One node of a code requirement. Fields that the operator has no use for keep their defaults.
struct RequirementExpression {
  RequirementOperator operation = RequirementOperator::never;
  /// Certificate position (counted from the leaf, or from the root when negative), or the platform number.
  std::int32_t number = 0;
  /// Identifier, hash (raw bytes), key, subject field, or object identifier (DER content bytes).
  std::string text = {};
  RequirementMatch match = {};
  /// Two for conjunction and disjunction, one for negation.
  std::vector<RequirementExpression> operands = {};

  friend bool operator==(const RequirementExpression&, const RequirementExpression&) = default;
};

}  // namespace quillon
