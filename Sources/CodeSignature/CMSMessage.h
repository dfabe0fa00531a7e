#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "CodeSignature/BERElement.h"
#include "CodeSignature/CodeHash.h"

namespace quillon {

/// Attributes of a signer (RFC 5652), each of which stands there once and has at least one value. Borrows from the
/// message.
class CMSAttributes {
 public:
  /// Reads the content of a SET of attributes. Throws CodeSignatureError(signatureFailed).
  [[nodiscard]] static CMSAttributes parse(std::string_view content);

  [[nodiscard]] std::size_t count() const noexcept { return values_.size(); }
  /// The values of an attribute, by its object identifier in dotted decimals; null when there is none.
  [[nodiscard]] const std::vector<BERElement>* find(std::string_view dotted) const;
  /// As `find`, for an attribute with exactly one value. Throws CodeSignatureError(signatureFailed) when it has more.
  [[nodiscard]] const BERElement* findSingle(std::string_view dotted) const;
  /// As `findSingle`. Throws CodeSignatureError(signatureFailed) also when there is none.
  [[nodiscard]] const BERElement& requireSingle(std::string_view dotted) const;

 private:
  std::map<std::string_view, std::vector<BERElement>> values_;  // by DER content bytes
};

/// What kind of message a reader expects; all others are refused.
struct CMSMessageForm {
  /// Of the signed content, in dotted decimals.
  std::string_view contentType;
  /// Of the SignedData, one digit: it follows from the content type.
  char version = 1;
  /// Whether the content stands in the message; otherwise the reader brings it.
  bool holdsContent = false;
};

/// Content that a message signs without holding it. Borrows the bytes.
class CMSDetachedContent {
 public:
  CMSDetachedContent(std::string_view bytes) : bytes_(bytes) {}    // NOLINT(google-explicit-constructor)
  CMSDetachedContent(const std::string& bytes) : bytes_(bytes) {}  // NOLINT(google-explicit-constructor)
  /// Bytes whose whole hash is known already, so that they are not hashed again where the message uses it.
  CMSDetachedContent(std::string_view bytes, CodeHashType type, std::string_view hash)
      : bytes_(bytes), knownHashType_(type), knownHash_(hash) {}

  [[nodiscard]] std::string_view bytes() const noexcept { return bytes_; }
  /// With one of the algorithms that `cmsDigestFrom` answers.
  [[nodiscard]] std::string digest(int digest) const;

 private:
  std::string_view bytes_;
  std::optional<CodeHashType> knownHashType_;
  std::string knownHash_;
};

/// A message with one signer whose signature has been checked. Whether the certificate means anything is for its chain
/// to say. Borrows from the bytes it was read from.
struct CMSMessage {
  /// The bytes that are signed.
  std::string_view content;
  /// All certificates of the message, the signer's among them, in DER; none is there twice.
  std::vector<std::string> certificates;
  /// The signer's certificate, in DER.
  std::string signer;
  CMSAttributes signedAttributes;
  /// Nothing vouches for these.
  CMSAttributes unsignedAttributes;
  std::string_view signatureValue;
};

/// Reads a message of the given form and checks its signature, with a strict reader of its own and with OpenSSL's: two
/// readers that disagree about a message are one too few. `detachedContent` counts only when the message does not hold
/// its content. Throws CodeSignatureError(signatureFailed) for everything else, also for encodings that mean the same
/// but are not what signers write: no single byte of the message can be changed without being noticed. The one
/// exception says the same before and after: signers name an RSA algorithm with its digest or without.
[[nodiscard]] CMSMessage verifyCMSMessage(std::string_view bytes, const CMSMessageForm& form,
                                          const CMSDetachedContent& detachedContent = std::string_view());

/// Reads an AlgorithmIdentifier of a digest, whose parameters are absent or NULL, and answers the digest's NID. Throws
/// CodeSignatureError(signatureFailed) for everything but SHA-1, SHA-256, SHA-384 and SHA-512.
[[nodiscard]] int cmsDigestFrom(const BERElement& algorithm);

/// The digest of `bytes` with one of the algorithms that `cmsDigestFrom` answers.
[[nodiscard]] std::string cmsDigest(int digest, std::string_view bytes);

/// Reads a UTCTime or GeneralizedTime. Throws CodeSignatureError(signatureFailed).
[[nodiscard]] std::chrono::sys_seconds cmsTimeFrom(const BERElement& element);

}  // namespace quillon
