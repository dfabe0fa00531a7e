#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "CodeSignature/CMSMessage.h"
#include "CodeSignature/CodeDirectory.h"
#include "CodeSignature/SigningIdentity.h"

namespace quillon {

/// A cryptographic message (RFC 5652) that has been found to sign certain bytes with the key of `signer`. Whether that
/// certificate means anything is for its chain to say.
struct CMSSignature {
  /// In DER.
  std::string signer;
  /// All certificates of the message, the signer's among them, in DER.
  std::vector<std::string> certificates;
  /// What the signer claims; absent when the message has no such attribute.
  std::optional<std::chrono::sys_seconds> signingTime;
  /// Identifying hashes (20 bytes) of all code directories, as the property-list attribute names them.
  std::optional<std::vector<std::string>> listedHashes;
  /// Whole hashes of all code directories, as the attribute with algorithms names them.
  struct TypedHash {
    std::string algorithm;  ///< object identifier, DER content bytes
    std::string hash;
    friend bool operator==(const TypedHash&, const TypedHash&) = default;
  };
  std::optional<std::vector<TypedHash>> typedHashes;
  /// RFC 3161 token that claims to be over the signature value, unverified; absent without time stamp.
  std::optional<std::string> timestampToken;
  std::string signatureValue;
};

/// Reads a detached message with one signer over `content` and checks its signature. Throws
/// CodeSignatureError(signatureFailed) for everything else, also for encodings that mean the same but are not what
/// signers write: no byte of the message can be changed without being noticed. The token is only read, not verified.
[[nodiscard]] CMSSignature verifyCMSSignature(std::string_view message, const CMSDetachedContent& content);

/// Signs the first of `directories` in a detached message that also names the hashes of them all. The chain of
/// `identity` is embedded whole. The message holds no time but `signingTime`: with an RSA key, equal arguments make
/// equal messages. With an elliptic-curve key each signature value has a random part. Throws QuillonError, also for
/// keys of other kinds.
[[nodiscard]] std::string makeCMSSignature(const std::vector<CodeDirectory>& directories,
                                           const SigningIdentity& identity,
                                           std::optional<std::chrono::sys_seconds> signingTime = std::nullopt);

/// DER content bytes of the object identifier that names the algorithm of `type`.
[[nodiscard]] std::string digestObjectIdentifier(CodeHashType type);

}  // namespace quillon
