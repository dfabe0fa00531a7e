#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "CodeSignature/TrustAnchors.h"

namespace quillon {

/// What requirements and displays ask of a certificate.
struct CertificateFacts {
  std::string der;
  std::string sha1;
  std::string sha256;
  /// Values of the subject by short name ("CN", "O", "OU", "C", "L", "ST", "STREET", "DC", "UID", "email"), UTF-8.
  std::multimap<std::string, std::string, std::less<>> subject;
  /// Values of the extensions (DER) by object identifier (DER content bytes).
  std::map<std::string, std::string, std::less<>> extensions;

  /// The first value of a subject field; absent when there is none.
  [[nodiscard]] std::optional<std::string> subjectValue(std::string_view field) const;
};

/// The signer's certificate first, its self-signed root last.
struct CertificateChain {
  std::vector<CertificateFacts> certificates;
  /// Whether the root is one of the platform vendor's.
  bool isAnchoredByApple = false;
  /// Whether the root is the platform vendor's or one that this machine's administrator has installed.
  bool hasKnownAnchor = false;

  [[nodiscard]] const CertificateFacts& leaf() const { return certificates.front(); }
  [[nodiscard]] const CertificateFacts& root() const { return certificates.back(); }
  /// The certificate at a position of a requirement: counted from the leaf, or from the root when negative; null when
  /// there is none.
  [[nodiscard]] const CertificateFacts* certificateAt(std::int32_t position) const noexcept;
};

/// Facts of one certificate in DER. Throws CodeSignatureError(signatureFailed) when it is malformed.
[[nodiscard]] CertificateFacts certificateFacts(std::string_view der);

/// What the leaf of a chain must be made for, by its extended key usage (RFC 5280).
enum class CertificatePurpose {
  /// Code signing, perhaps among others.
  codeSigning,
  /// Time stamping and nothing else (RFC 3161); a key usage, if there is one, must allow signatures.
  timeStamping,
};

/// Builds the chain from `leaf` over `pool` (all in DER) to a self-signed root, and checks every signature in it, the
/// root's own included. Any self-signed root ends a chain; whether it means anything is what the two flags say. The
/// leaf must be made for `purpose`. With `time` every certificate must have been valid then; else expiry is not
/// looked at. Every certificate of the pool must be part of the chain: what no signature covers could be changed
/// unnoticed.
///
/// Throws CodeSignatureError: notTrusted, certificateExpired, signatureFailed for malformed or superfluous
/// certificates.
[[nodiscard]] CertificateChain buildCertificateChain(std::string_view leaf, const std::vector<std::string>& pool,
                                                     const TrustAnchors& anchors,
                                                     std::optional<std::chrono::sys_seconds> time,
                                                     CertificatePurpose purpose = CertificatePurpose::codeSigning);

}  // namespace quillon
