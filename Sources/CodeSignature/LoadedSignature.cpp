#include "CodeSignature/LoadedSignature.h"

#include <algorithm>
#include <iterator>
#include <map>

#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/DesignatedRequirement.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"

namespace quillon {
namespace {

/// Magic number and length, before the property list of entitlements.
constexpr std::size_t kBlobHeaderLength = 8;

[[noreturn]] void fail(CodeSignatureErrorCode code = CodeSignatureErrorCode::signatureFailed) {
  throw CodeSignatureError(code);
}

CodeSlot alternateSlot(std::uint32_t index) {
  return static_cast<CodeSlot>(static_cast<std::uint32_t>(CodeSlot::alternateCodeDirectory) + index);
}

/// Directories of one code may differ in their hashes and in nothing else: whoever reads only one of them must learn
/// the same as whoever reads another.
void checkAgreement(const std::vector<CodeDirectory>& directories) {
  const CodeDirectory& first = directories.front();
  for (std::size_t i = 1; i < directories.size(); ++i) {
    const CodeDirectory& other = directories[i];
    for (std::size_t j = 0; j < i; ++j) {
      if (directories[j].hashType == other.hashType) fail(CodeSignatureErrorCode::signatureInvalid);
    }
    const bool agrees = first.identifier == other.identifier && first.team == other.team &&
                        first.flags == other.flags && first.platform == other.platform &&
                        first.codeLimit == other.codeLimit && first.pageSizeLog2 == other.pageSizeLog2;
    if (!agrees) fail(CodeSignatureErrorCode::signatureInvalid);
  }
}

std::string identifyingHash(const std::string& wholeHash) {
  return wholeHash.substr(0, kCodeDirectoryHashLength);
}

/// The message must name exactly the directories that are there: an old signature could otherwise be given another
/// directory that seals other files.
void checkNamedHashes(const LoadedSignature& signature) {
  const CMSSignature& cms = *signature.cms;
  const auto& directories = signature.directories;
  if (!cms.listedHashes && !cms.typedHashes && directories.size() > 1) fail();
  if (cms.listedHashes) {
    std::map<CodeHashType, std::string> hashes;
    for (std::size_t i = 0; i < directories.size(); ++i) {
      hashes[directories[i].hashType] = identifyingHash(signature.directoryHashes[i]);
    }
    const bool isNamed = std::ranges::equal(
        hashes, *cms.listedHashes, [](const auto& hash, const std::string& named) { return hash.second == named; });
    if (!isNamed) fail();
  }
  if (cms.typedHashes) {
    if (cms.typedHashes->size() != directories.size()) fail();
    for (std::size_t i = 0; i < directories.size(); ++i) {
      const CMSSignature::TypedHash expected{.algorithm = digestObjectIdentifier(directories[i].hashType),
                                             .hash = signature.directoryHashes[i]};
      if (std::ranges::find(*cms.typedHashes, expected) == cms.typedHashes->end()) fail();
    }
  }
}

/// The dictionary of a property list; absent when there is none, or it is malformed.
std::optional<QuillonPropertyListValue> dictionaryFrom(const std::optional<std::string>& bytes) {
  if (!bytes) return std::nullopt;
  try {
    QuillonPropertyListValue list = readPropertyList(*bytes);
    if (list.getIf<QuillonPropertyListValue::Dictionary>() != nullptr) return list;
  } catch (const QuillonPropertyListError&) {
    // Whoever needs it will find that it is not there.
  }
  return std::nullopt;
}

std::shared_ptr<const QuillonPropertyListValue> sharedDictionaryFrom(const std::optional<std::string>& bytes) {
  auto dictionary = dictionaryFrom(bytes);
  return dictionary ? std::make_shared<const QuillonPropertyListValue>(std::move(*dictionary)) : nullptr;
}

void loadTimestamp(const TrustAnchors& anchors, LoadedSignature& signature) {
  const CMSSignature& cms = *signature.cms;
  if (!cms.timestampToken) return;
  signature.timestamp = verifySignatureTimestamp(*cms.timestampToken, cms.signatureValue, anchors);
}

void loadCertificateChain(const TrustAnchors& anchors, LoadedSignature& signature) {
  const CMSSignature& cms = *signature.cms;
  // Without a secure time nobody knows when the certificates had to be valid.
  std::optional<std::chrono::sys_seconds> time;
  if (signature.timestamp) time = signature.timestamp->time;
  signature.chain = buildCertificateChain(cms.signer, cms.certificates, anchors, time);
  if ((signature.best().flags & kCodeDirectoryExpiresFlag) != 0) {
    const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
    (void)buildCertificateChain(cms.signer, cms.certificates, anchors, now);
  }
  if (signature.timestamp && !signature.timestamp->countsFor(*signature.chain)) {
    fail(CodeSignatureErrorCode::notTrusted);
  }
}

CodeSignatureErrorCode errorOfSlot(CodeSlot slot) {
  if (slot == CodeSlot::infoPropertyList) return CodeSignatureErrorCode::infoPropertyListFailed;
  if (slot == CodeSlot::resources) return CodeSignatureErrorCode::resourceDirectoryFailed;
  return CodeSignatureErrorCode::signatureFailed;
}

/// A part without hash would be read by someone else without being protected by anything.
[[noreturn]] void failUnsealed(const CodeDirectory& directory, CodeSlot slot) {
  // A linker's signature knows nothing of the bundle that its program ends up in.
  const bool knowsBundle = directory.specialHashes.contains(CodeSlot::resources);
  const bool isOfBundle = slot == CodeSlot::infoPropertyList || slot == CodeSlot::resources;
  fail(isOfBundle && !knowsBundle ? CodeSignatureErrorCode::resourcesNotFound : errorOfSlot(slot));
}

void checkSlot(const CodeDirectory& directory, CodeSlot slot, const std::optional<std::string>& part) {
  const auto sealed = directory.specialHashes.find(slot);
  const bool isSealed = sealed != directory.specialHashes.end();
  if (!isSealed && !part) return;
  if (!isSealed) failUnsealed(directory, slot);
  if (!part) fail(errorOfSlot(slot));
  if (codeHash(directory.hashType, *part) != sealed->second) fail(errorOfSlot(slot));
}

}  // namespace

const CodeDirectory& LoadedSignature::best() const {
  return *std::ranges::max_element(directories, {},
                                   [](const CodeDirectory& directory) { return codeHashRank(directory.hashType); });
}

std::vector<std::string> LoadedSignature::identifyingHashes() const {
  std::vector<std::string> hashes;
  for (const std::string& hash : directoryHashes) hashes.push_back(identifyingHash(hash));
  return hashes;
}

void LoadedSignature::shareParts(const LoadedSignature& other) {
  if (sealBytes && other.sealBytes && *sealBytes == *other.sealBytes) sealBytes = other.sealBytes;
  if (information && other.information && *information == *other.information) information = other.information;
}

LoadedSignature loadCodeDirectories(const CodeRepresentation& code) {
  LoadedSignature signature;
  std::optional<std::string> blob = code.signaturePart(CodeSlot::codeDirectory);
  if (!blob || blob->empty()) fail(CodeSignatureErrorCode::unsignedCode);
  signature.directories.push_back(parseCodeDirectory(std::move(*blob)));
  bool isLast = false;
  for (std::uint32_t i = 0; i < kAlternateCodeDirectoryLimit; ++i) {
    std::optional<std::string> alternate = code.signaturePart(alternateSlot(i));
    // Directories behind a gap are for some readers there, for others not.
    if (alternate && isLast) fail(CodeSignatureErrorCode::signatureInvalid);
    isLast = !alternate;
    if (alternate) signature.directories.push_back(parseCodeDirectory(std::move(*alternate)));
  }
  checkAgreement(signature.directories);
  for (const CodeDirectory& directory : signature.directories) {
    signature.directoryHashes.push_back(directory.fullHash());
  }
  return signature;
}

void loadCMS(const CodeRepresentation& code, const TrustAnchors& anchors, LoadedSignature& signature) {
  signature.message = code.signaturePart(CodeSlot::signature).value_or(std::string());
  if (signature.best().isAdHoc()) {
    if (!signature.message.empty()) fail();
    return;
  }
  if (signature.message.empty()) fail(CodeSignatureErrorCode::unsignedCode);
  const CodeDirectory& first = signature.directories.front();
  signature.cms =
      verifyCMSSignature(signature.message, {first.blob, first.hashType, signature.directoryHashes.front()});
  checkNamedHashes(signature);
  loadTimestamp(anchors, signature);
  loadCertificateChain(anchors, signature);
  const std::string& team = signature.best().team;
  if (signature.chain->isAnchoredByApple && !team.empty() && signature.chain->leaf().subjectValue("OU") != team) {
    fail(CodeSignatureErrorCode::invalidTeamIdentifier);
  }
}

void checkSpecialSlots(const CodeRepresentation& code, LoadedSignature& signature) {
  for (std::uint32_t number = 1; number <= kLastSpecialSlot; ++number) {
    const auto slot = static_cast<CodeSlot>(number);
    std::optional<std::string> part = code.signaturePart(slot);
    for (const CodeDirectory& directory : signature.directories) {
      const bool isInCode = slot == CodeSlot::infoPropertyList && code.hasInformationInCode();
      if (isInCode && !directory.specialHashes.contains(slot)) continue;
      checkSlot(directory, slot, part);
    }
    if (slot == CodeSlot::requirements)
      signature.requirementsBlob = std::move(part);
    else if (slot == CodeSlot::resources)
      signature.sealBytes = part ? std::make_shared<const std::string>(std::move(*part)) : nullptr;
    else if (slot == CodeSlot::infoPropertyList)
      signature.information = sharedDictionaryFrom(part);
    else if (slot == CodeSlot::entitlements && part)
      signature.entitlements = dictionaryFrom(part->substr(std::min(kBlobHeaderLength, part->size())));
  }
  for (const CodeDirectory& directory : signature.directories) {
    const auto unknown = directory.specialHashes.upper_bound(static_cast<CodeSlot>(kLastSpecialSlot));
    if (unknown != directory.specialHashes.end()) fail();
  }
  if (signature.requirementsBlob) signature.requirements = parseRequirementSet(*signature.requirementsBlob);
}

RequirementExpression designatedRequirement(const std::vector<LoadedSignature>& architectures) {
  const LoadedSignature& native = architectures.front();
  const auto own = native.requirements.find(RequirementPurpose::designated);
  if (own != native.requirements.end()) return own->second;
  std::vector<std::string> hashes;
  for (const LoadedSignature& signature : architectures) {
    std::ranges::move(signature.identifyingHashes(), std::back_inserter(hashes));
  }
  return derivedDesignatedRequirement(native.best().identifier, hashes, native.chain ? &*native.chain : nullptr);
}

bool meetsRequirement(const std::vector<LoadedSignature>& architectures, const RequirementExpression& requirement) {
  return std::ranges::all_of(architectures, [&requirement](const LoadedSignature& signature) {
    return meetsRequirement(requirementSubject(signature), requirement);
  });
}

RequirementSubject requirementSubject(const LoadedSignature& signature) {
  RequirementSubject subject;
  subject.identifier = signature.best().identifier;
  for (std::string& hash : signature.identifyingHashes()) subject.codeDirectoryHashes.insert(std::move(hash));
  subject.chain = signature.chain ? &*signature.chain : nullptr;
  subject.information = signature.information.get();
  subject.entitlements = signature.entitlements ? &*signature.entitlements : nullptr;
  subject.platform = signature.best().platform;
  return subject;
}

}  // namespace quillon
