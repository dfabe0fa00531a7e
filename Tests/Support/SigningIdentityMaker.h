#pragma once

#include <string>

#include "CodeSignature/SigningIdentity.h"

namespace quillon::testing {

/// What a test wants of the certificates made for it.
struct SigningIdentityRequest {
  std::string commonName = "Developer: Example (TEAM123456)";
  std::string organization = "Example Organization";
  /// Empty for a certificate without organizational unit.
  std::string organizationalUnit = "TEAM123456";
  bool isForCodeSigning = true;
  bool isExpired = false;
  /// Whether the root's certificate is among the certificates.
  bool includesRoot = true;
  /// Whether both keys are RSA keys, which takes about a tenth of a second.
  bool isRSA = false;
};

/// A key with its certificate and the root that issued it, in PEM.
struct MadeSigningIdentity {
  std::string key;
  std::string certificates;  ///< leaf, and root when asked for
  std::string root;

  [[nodiscard]] SigningIdentity identity() const { return SigningIdentity::fromPEM(key, certificates); }
};

/// Makes keys (P-256 unless RSA is asked for) and certificates. Every call makes new ones.
[[nodiscard]] MadeSigningIdentity makeSigningIdentity(const SigningIdentityRequest& request = {});

/// An identity that all tests of a process share, where any will do.
[[nodiscard]] const MadeSigningIdentity& sharedSigningIdentity();

/// The same with RSA keys, whose signatures are the same each time.
[[nodiscard]] const MadeSigningIdentity& sharedRSASigningIdentity();

}  // namespace quillon::testing
