#include "CodeSignature/RequirementEvaluation.h"

#include <algorithm>
#include <compare>
#include <string_view>

#include "CodeSignature/BERElement.h"
#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/ObjectIdentifier.h"

namespace quillon {
namespace {

// Markers of the platform vendor's certificates.
constexpr std::string_view kVendorSoftwareMarker = "1.2.840.113635.100.6.1.22";
constexpr std::string_view kCertificatePolicies = "2.5.29.32";

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

/// Order of two texts in which runs of digits compare as numbers.
std::strong_ordering compareNumerically(std::string_view a, std::string_view b) {
  while (!a.empty() && !b.empty()) {
    if (!isDigit(a.front()) || !isDigit(b.front())) {
      if (const auto order = a.front() <=> b.front(); order != 0) return order;
      a.remove_prefix(1);
      b.remove_prefix(1);
      continue;
    }
    const auto takeNumber = [](std::string_view& text) {
      const std::size_t length = std::min(std::min(text.find_first_not_of("0123456789"), text.size()), text.size());
      std::string_view number = text.substr(0, length);
      text.remove_prefix(length);
      number.remove_prefix(std::min(number.find_first_not_of('0'), number.size()));
      return number;
    };
    const std::string_view first = takeNumber(a);
    const std::string_view second = takeNumber(b);
    if (first.size() != second.size()) return first.size() <=> second.size();
    if (const auto order = first <=> second; order != 0) return order;
  }
  return a.size() <=> b.size();
}

bool matchesText(const RequirementMatch& match, std::string_view text) {
  using enum RequirementMatchOperator;
  switch (match.operation) {
    case exists:
      return true;
    case equal:
      return text == match.value;
    case contains:
      return text.find(match.value) != std::string_view::npos;
    case beginsWith:
      return text.starts_with(match.value);
    case endsWith:
      return text.ends_with(match.value);
    case lessThan:
      return compareNumerically(text, match.value) < 0;
    case greaterThan:
      return compareNumerically(text, match.value) > 0;
    case lessEqual:
      return compareNumerically(text, match.value) <= 0;
    case greaterEqual:
      return compareNumerically(text, match.value) >= 0;
    case onDate:
    case beforeDate:
    case afterDate:
    case onOrBeforeDate:
    case onOrAfterDate:
    case absent:
      return false;
  }
  return false;
}

bool matchesDate(const RequirementMatch& match, QuillonPropertyListDate date) {
  constexpr std::int64_t kReferenceDate = 978307200;  // seconds from 1970 to 2001
  const std::int64_t seconds =
      std::chrono::floor<std::chrono::seconds>(date.time_since_epoch()).count() - kReferenceDate;
  using enum RequirementMatchOperator;
  switch (match.operation) {
    case exists:
      return true;
    case onDate:
      return seconds == match.date;
    case beforeDate:
      return seconds < match.date;
    case afterDate:
      return seconds > match.date;
    case onOrBeforeDate:
      return seconds <= match.date;
    case onOrAfterDate:
      return seconds >= match.date;
    default:
      return false;
  }
}

bool matchesValue(const RequirementMatch& match, const QuillonPropertyListValue* value) {
  const bool wantsAbsence = match.operation == RequirementMatchOperator::absent;
  if (value == nullptr || wantsAbsence) return (value == nullptr) == wantsAbsence && wantsAbsence;
  if (const auto* text = value->getIf<std::string>()) return matchesText(match, *text);
  if (const auto* flag = value->getIf<bool>()) {
    return match.operation == RequirementMatchOperator::exists ? *flag : false;
  }
  if (const auto* number = value->getIf<std::int64_t>()) return matchesText(match, std::to_string(*number));
  if (const auto* date = value->getIf<QuillonPropertyListDate>()) return matchesDate(match, *date);
  if (const auto* array = value->getIf<QuillonPropertyListValue::Array>()) {
    return std::ranges::any_of(*array, [&](const auto& item) { return matchesValue(match, &item); });
  }
  return match.operation == RequirementMatchOperator::exists;
}

/// Text of an extension that holds one string; empty for everything else.
std::string_view extensionText(std::string_view der) {
  try {
    BERReader reader(der);
    const BERElement element = reader.next();
    reader.expectEnd();
    constexpr std::uint8_t kUTF8String = 0x0C;
    constexpr std::uint8_t kPrintableString = 0x13;
    constexpr std::uint8_t kIA5String = 0x16;
    const auto tag = static_cast<std::uint8_t>(element.tag);
    return tag == kUTF8String || tag == kPrintableString || tag == kIA5String ? element.content : std::string_view();
  } catch (const CodeSignatureError&) {
    return {};
  }
}

bool hasPolicy(const CertificateFacts& certificate, std::string_view policy) {
  const auto found = certificate.extensions.find(objectIdentifierContent(kCertificatePolicies).value());
  if (found == certificate.extensions.end()) return false;
  try {
    BERReader outer(found->second);
    BERReader policies(outer.next(BERTag::sequence).content);
    while (!policies.isAtEnd()) {
      BERReader information(policies.next(BERTag::sequence).content);
      if (information.next(BERTag::objectIdentifier).content == policy) return true;
    }
  } catch (const CodeSignatureError&) {
    return false;  // a malformed extension lists nothing
  }
  return false;
}

bool matchesPresence(const RequirementMatch& match, bool isPresent) {
  if (match.operation == RequirementMatchOperator::absent) return !isPresent;
  return isPresent && match.operation == RequirementMatchOperator::exists;
}

bool matchesCertificateField(const RequirementExpression& requirement, const CertificateFacts& certificate) {
  std::string_view field = requirement.text;
  if (!field.starts_with("subject.")) return false;
  field.remove_prefix(std::string_view("subject.").size());
  const auto [begin, end] = certificate.subject.equal_range(field);
  if (requirement.match.operation == RequirementMatchOperator::absent) return begin == end;
  return std::any_of(begin, end, [&](const auto& entry) { return matchesText(requirement.match, entry.second); });
}

bool matchesExtension(const RequirementExpression& requirement, const CertificateFacts& certificate) {
  const auto found = certificate.extensions.find(requirement.text);
  const bool isPresent = found != certificate.extensions.end();
  using enum RequirementMatchOperator;
  if (requirement.match.operation == absent || requirement.match.operation == exists) {
    return matchesPresence(requirement.match, isPresent);
  }
  return isPresent && matchesText(requirement.match, extensionText(found->second));
}

/// Software of the platform itself: an intermediate certificate for it, and the marker in the leaf.
bool isPlatformSoftware(const CertificateChain& chain) {
  const CertificateFacts* intermediate = chain.certificateAt(-2);
  return chain.isAnchoredByApple && chain.certificates.size() >= 3 && intermediate != nullptr &&
         intermediate->subjectValue("CN") == "Apple Code Signing Certification Authority" &&
         intermediate->subjectValue("O") == "Apple Inc." &&
         chain.leaf().extensions.contains(objectIdentifierContent(kVendorSoftwareMarker).value());
}

bool meetsCertificateRequirement(const RequirementSubject& subject, const RequirementExpression& requirement) {
  if (subject.chain == nullptr) return false;
  const CertificateFacts* certificate = subject.chain->certificateAt(requirement.number);
  if (certificate == nullptr) return false;
  using enum RequirementOperator;
  switch (requirement.operation) {
    case certificateHash:
      return certificate->sha1 == requirement.text;
    case certificateField:
      return matchesCertificateField(requirement, *certificate);
    case certificateExtension:
      return matchesExtension(requirement, *certificate);
    case certificatePolicy:
      return matchesPresence(requirement.match, hasPolicy(*certificate, requirement.text));
    case certificateTrusted:
      return certificate == &subject.chain->root() && subject.chain->hasKnownAnchor;
    default:
      return false;
  }
}

}  // namespace

bool meetsRequirement(const RequirementSubject& subject, const RequirementExpression& requirement) {
  const auto meets = [&subject](const RequirementExpression& operand) { return meetsRequirement(subject, operand); };
  using enum RequirementOperator;
  switch (requirement.operation) {
    case never:
    case notarized:
    case legacyDeveloperID:
    case namedAnchor:
    case namedCode:
    case certificateTimestamp:
      return false;
    case always:
      return true;
    case identifier:
      return subject.identifier == requirement.text;
    case codeDirectoryHash:
      return subject.codeDirectoryHashes.contains(requirement.text);
    case conjunction:
      return std::ranges::all_of(requirement.operands, meets);
    case disjunction:
      return std::ranges::any_of(requirement.operands, meets);
    case negation:
      return !meets(requirement.operands.front());
    case anchorApple:
      return subject.chain != nullptr && isPlatformSoftware(*subject.chain);
    case anchorAppleGeneric:
      return subject.chain != nullptr && subject.chain->isAnchoredByApple;
    case anchorTrusted:
      return subject.chain != nullptr && subject.chain->hasKnownAnchor;
    case infoValue:
    case infoField:
      return matchesValue(requirement.match,
                          subject.information == nullptr ? nullptr : subject.information->find(requirement.text));
    case entitlementField:
      return matchesValue(requirement.match,
                          subject.entitlements == nullptr ? nullptr : subject.entitlements->find(requirement.text));
    case platform:
      return subject.platform == requirement.number;
    case certificateHash:
    case certificateField:
    case certificateExtension:
    case certificatePolicy:
    case certificateTrusted:
      return meetsCertificateRequirement(subject, requirement);
  }
  return false;
}

}  // namespace quillon
