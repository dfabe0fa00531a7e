#include "Support/CertificateMaker.h"

#include <openssl/ec.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/rsa.h>
#include <openssl/x509v3.h>

#include <stdexcept>
#include <utility>

namespace quillon::testing {
namespace {

using Output = std::unique_ptr<BIO, CertificateMakerDeleter<BIO_free_all>>;

void require(bool condition) {
  if (!condition) throw std::runtime_error("Cannot make a certificate");
}

std::string textOf(const Output& output) {
  char* data = nullptr;
  const long length = BIO_get_mem_data(output.get(), &data);
  return {data, static_cast<std::size_t>(length)};
}

void addField(X509_NAME* name, const char* field, const std::string& value) {
  if (value.empty()) return;
  require(X509_NAME_add_entry_by_txt(name, field, MBSTRING_UTF8, reinterpret_cast<const unsigned char*>(value.data()),
                                     static_cast<int>(value.size()), -1, 0) == 1);
}

void addExtension(const MadeCertificate& certificate, int kind, const std::string& value) {
  if (value.empty()) return;
  const std::unique_ptr<X509_EXTENSION, CertificateMakerDeleter<X509_EXTENSION_free>> extension(
      X509V3_EXT_conf_nid(nullptr, nullptr, kind, value.c_str()));
  require(extension && X509_add_ext(certificate.get(), extension.get(), -1) == 1);
}

MadeCertificate blankCertificate(const MadeKey& key, std::chrono::seconds remainingValidity) {
  MadeCertificate certificate(X509_new());
  std::int64_t serial = 0;
  require(certificate && RAND_bytes(reinterpret_cast<unsigned char*>(&serial), sizeof serial) == 1);
  X509_set_version(certificate.get(), X509_VERSION_3);
  ASN1_INTEGER_set_int64(X509_get_serialNumber(certificate.get()), serial & 0x7FFFFFFFFFFFFFFF);
  X509_set_pubkey(certificate.get(), key.get());
  constexpr long kDay = 24 * 60 * 60;
  X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -2 * kDay);
  X509_gmtime_adj(X509_getm_notAfter(certificate.get()), remainingValidity.count());
  return certificate;
}

void sign(const MadeCertificate& certificate, const MadeKey& key) {
  require(X509_sign(certificate.get(), key.get(), EVP_sha256()) > 0);
}

}  // namespace

MadeKey makeKey(bool isRSA) {
  MadeKey key(isRSA ? EVP_RSA_gen(2048) : EVP_EC_gen("P-256"));
  require(key != nullptr);
  return key;
}

MadeCertificate makeRootCertificate(const MadeKey& key, const std::string& organization) {
  MadeCertificate root = blankCertificate(key, std::chrono::hours(365 * 24));
  X509_NAME* name = X509_get_subject_name(root.get());
  addField(name, "O", organization);
  addField(name, "CN", organization + " Root");
  X509_set_issuer_name(root.get(), name);
  addExtension(root, NID_basic_constraints, "critical,CA:TRUE");
  addExtension(root, NID_key_usage, "critical,keyCertSign");
  sign(root, key);
  return root;
}

MadeCertificate makeLeafCertificate(const MadeKey& key, const MadeCertificate& issuer, const MadeKey& issuerKey,
                                    const CertificateRequest& request) {
  MadeCertificate leaf = blankCertificate(key, request.remainingValidity);
  X509_NAME* name = X509_get_subject_name(leaf.get());
  addField(name, "O", request.organization);
  addField(name, "OU", request.organizationalUnit);
  addField(name, "CN", request.commonName);
  X509_set_issuer_name(leaf.get(), X509_get_subject_name(issuer.get()));
  addExtension(leaf, NID_basic_constraints, "critical,CA:FALSE");
  addExtension(leaf, NID_key_usage, request.keyUsage);
  addExtension(leaf, NID_ext_key_usage, request.extendedKeyUsage);
  addExtension(leaf, NID_subject_alt_name, request.subjectAlternativeName);
  sign(leaf, issuerKey);
  return leaf;
}

LocalhostCertificate makeLocalhostCertificate() {
  const MadeKey rootKey = makeKey();
  MadeCertificate root = makeRootCertificate(rootKey, "Quillon Tests");
  MadeKey key = makeKey();
  MadeCertificate leaf = makeLeafCertificate(key, root, rootKey,
                                             {.commonName = "localhost",
                                              .organization = "Quillon Tests",
                                              .organizationalUnit = "",
                                              .extendedKeyUsage = "serverAuth",
                                              .subjectAlternativeName = "DNS:localhost"});
  return {.key = std::move(key), .certificate = std::move(leaf), .root = std::move(root)};
}

std::string pemOf(const MadeCertificate& certificate) {
  const Output output(BIO_new(BIO_s_mem()));
  require(PEM_write_bio_X509(output.get(), certificate.get()) == 1);
  return textOf(output);
}

std::string pemOf(const MadeKey& key) {
  const Output output(BIO_new(BIO_s_mem()));
  require(PEM_write_bio_PrivateKey(output.get(), key.get(), nullptr, nullptr, 0, nullptr, nullptr) == 1);
  return textOf(output);
}

}  // namespace quillon::testing
