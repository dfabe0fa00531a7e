#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "CodeSignature/CMSSignature.h"
#include "CodeSignature/CertificateChain.h"
#include "CodeSignature/CodeDirectory.h"
#include "CodeSignature/CodeRepresentation.h"
#include "CodeSignature/RequirementEvaluation.h"
#include "CodeSignature/RequirementSet.h"
#include "CodeSignature/SignatureTimestamp.h"
#include "CodeSignature/TrustAnchors.h"
#include "QuillonCore/Values/QuillonPropertyListValue.h"

namespace quillon {

/// The signature of one architecture of a code object, read and found consistent in itself.
struct LoadedSignature {
  /// In the order of their slots; the first is the one that the message signs.
  std::vector<CodeDirectory> directories;
  /// The whole hash of each of them, taken once: directories of large code are large themselves.
  std::vector<std::string> directoryHashes;
  /// Bytes of the cryptographic message; empty for ad-hoc signatures.
  std::string message;
  std::optional<CMSSignature> cms;
  /// Absent for ad-hoc signatures.
  std::optional<CertificateChain> chain;
  /// When the message was certainly there; absent without time stamp.
  std::optional<SignatureTimestamp> timestamp;
  std::optional<std::string> requirementsBlob;
  /// The very bytes of the resource seal that its slot hash was compared with; null without resource slot.
  std::shared_ptr<const std::string> sealBytes;
  RequirementSet requirements;
  /// Dictionary of Info.plist; null when there is none, or it is malformed.
  std::shared_ptr<const QuillonPropertyListValue> information;
  /// What the code may do besides what all code may; absent without entitlements.
  std::optional<QuillonPropertyListValue> entitlements;

  /// The directory with the best hash algorithm: what it says about identifier, team and slots is what counts.
  [[nodiscard]] const CodeDirectory& best() const;
  [[nodiscard]] std::vector<std::string> identifyingHashes() const;
  /// Lets go of a seal and an Info.plist that are the same as those of `other`, and uses these: a hundred architectures
  /// of one bundle would hold a hundred copies.
  void shareParts(const LoadedSignature& other);
};

/// Reads the code directories. Throws CodeSignatureError: unsignedCode, signatureUnsupported, signatureFailed,
/// signatureInvalid for directories that contradict each other.
[[nodiscard]] LoadedSignature loadCodeDirectories(const CodeRepresentation& code);

/// Checks the cryptographic message over the first directory, its lists of hashes, its certificate chain and its time
/// stamp, and fills them in. With a time stamp the certificates must have been valid then. Code that wants to expire
/// needs certificates that are valid at this moment. Throws CodeSignatureError.
void loadCMS(const CodeRepresentation& code, const TrustAnchors& anchors, LoadedSignature& signature);

/// Compares the special slots of every directory with the parts, and reads the requirements. Throws CodeSignatureError.
void checkSpecialSlots(const CodeRepresentation& code, LoadedSignature& signature);

/// What requirements are put to. The result borrows from the argument.
[[nodiscard]] RequirementSubject requirementSubject(const LoadedSignature& signature);

/// The requirement by which others recognise code with these architectures, the first of which is this machine's.
[[nodiscard]] RequirementExpression designatedRequirement(const std::vector<LoadedSignature>& architectures);

/// Whether every architecture meets the requirement.
[[nodiscard]] bool meetsRequirement(const std::vector<LoadedSignature>& architectures,
                                    const RequirementExpression& requirement);

}  // namespace quillon
