#pragma once

#include <openssl/evp.h>
#include <openssl/x509.h>

#include <chrono>
#include <memory>
#include <string>

namespace quillon::testing {

/// Frees an OpenSSL object with the function that belongs to its type.
template <auto freeObject>
struct CertificateMakerDeleter {
  template <typename T>
  void operator()(T* object) const noexcept {
    freeObject(object);
  }
};

using MadeKey = std::unique_ptr<EVP_PKEY, CertificateMakerDeleter<EVP_PKEY_free>>;
using MadeCertificate = std::unique_ptr<X509, CertificateMakerDeleter<X509_free>>;

/// What a test wants of a certificate that is not a root. Texts of extensions are in OpenSSL's notation.
struct CertificateRequest {
  std::string commonName;
  std::string organization;
  /// Empty for a certificate without organizational unit.
  std::string organizationalUnit;
  /// Empty for a certificate without this extension, as the next.
  std::string keyUsage = "critical,digitalSignature";
  std::string extendedKeyUsage;
  /// When it ends, from this moment on; it begins two days before this moment.
  std::chrono::seconds remainingValidity = std::chrono::hours(365 * 24);
  /// Whom it speaks for; empty for a certificate without this extension.
  std::string subjectAlternativeName = {};
};

/// P-256, which is quick, or RSA with 2048 bits, which is not. Every call makes a new key. Throws std::runtime_error,
/// as do the others.
[[nodiscard]] MadeKey makeKey(bool isRSA = false);

/// The self-signed root `ORGANIZATION Root`.
[[nodiscard]] MadeCertificate makeRootCertificate(const MadeKey& key, const std::string& organization);

[[nodiscard]] MadeCertificate makeLeafCertificate(const MadeKey& key, const MadeCertificate& issuer,
                                                  const MadeKey& issuerKey, const CertificateRequest& request);

/// Of a server at `https://localhost`, and the root that vouches for it.
struct LocalhostCertificate {
  MadeKey key;
  MadeCertificate certificate;
  MadeCertificate root;
};
[[nodiscard]] LocalhostCertificate makeLocalhostCertificate();

[[nodiscard]] std::string pemOf(const MadeCertificate& certificate);
[[nodiscard]] std::string pemOf(const MadeKey& key);

}  // namespace quillon::testing
