#pragma once

#include <chrono>
#include <string_view>

#include "CodeSignature/CertificateChain.h"

namespace quillon {

/// What a time-stamping authority says about a signature: that its value existed at `time`. It is worth as much as the
/// root of `chain`.
struct SignatureTimestamp {
  std::chrono::sys_seconds time;
  /// The authority's certificate first.
  CertificateChain chain;

  /// Whether the time counts for what `signer` has signed: Apple's signatures need a time that Apple vouches for.
  /// Otherwise anyone could run an authority that sets the clock back to when a certificate was valid.
  [[nodiscard]] bool countsFor(const CertificateChain& signer) const noexcept {
    return !signer.isAnchoredByApple || chain.isAnchoredByApple;
  }
};

/// Verifies a time-stamp token (RFC 3161) over a signature value: a message that holds its content, from one signer
/// whose certificate is made for time stamping and nothing else, and was valid, as was its chain, at the time of the
/// token. Every certificate of the token must be part of that chain, as no signature covers another.
///
/// Throws CodeSignatureError: signatureFailed for malformed tokens and those over other values, notTrusted,
/// certificateExpired.
[[nodiscard]] SignatureTimestamp verifySignatureTimestamp(std::string_view token, std::string_view signatureValue,
                                                          const TrustAnchors& anchors);

}  // namespace quillon
