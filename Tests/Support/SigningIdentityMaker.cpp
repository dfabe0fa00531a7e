#include "Support/SigningIdentityMaker.h"

#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509v3.h>

#include <memory>
#include <stdexcept>

namespace quillon::testing {
namespace {

template <auto freeObject>
struct Deleter {
  template <typename T>
  void operator()(T* object) const noexcept {
    freeObject(object);
  }
};
using Key = std::unique_ptr<EVP_PKEY, Deleter<EVP_PKEY_free>>;
using Certificate = std::unique_ptr<X509, Deleter<X509_free>>;
using Output = std::unique_ptr<BIO, Deleter<BIO_free_all>>;

void require(bool condition) {
  if (!condition) throw std::runtime_error("Cannot make a signing identity");
}

std::string textOf(const Output& output) {
  char* data = nullptr;
  const long length = BIO_get_mem_data(output.get(), &data);
  return {data, static_cast<std::size_t>(length)};
}

std::string pem(const Certificate& certificate) {
  const Output output(BIO_new(BIO_s_mem()));
  require(PEM_write_bio_X509(output.get(), certificate.get()) == 1);
  return textOf(output);
}

std::string pem(const Key& key) {
  const Output output(BIO_new(BIO_s_mem()));
  require(PEM_write_bio_PrivateKey(output.get(), key.get(), nullptr, nullptr, 0, nullptr, nullptr) == 1);
  return textOf(output);
}

void addField(X509_NAME* name, const char* field, const std::string& value) {
  if (value.empty()) return;
  require(X509_NAME_add_entry_by_txt(name, field, MBSTRING_UTF8, reinterpret_cast<const unsigned char*>(value.data()),
                                     static_cast<int>(value.size()), -1, 0) == 1);
}

void addExtension(X509* certificate, int kind, const char* value) {
  const std::unique_ptr<X509_EXTENSION, Deleter<X509_EXTENSION_free>> extension(
      X509V3_EXT_conf_nid(nullptr, nullptr, kind, value));
  require(extension && X509_add_ext(certificate, extension.get(), -1) == 1);
}

Certificate blankCertificate(const Key& key) {
  Certificate certificate(X509_new());
  std::int64_t serial = 0;
  require(certificate && RAND_bytes(reinterpret_cast<unsigned char*>(&serial), sizeof serial) == 1);
  X509_set_version(certificate.get(), X509_VERSION_3);
  ASN1_INTEGER_set_int64(X509_get_serialNumber(certificate.get()), serial & 0x7FFFFFFFFFFFFFFF);
  X509_set_pubkey(certificate.get(), key.get());
  constexpr long kDay = 24 * 60 * 60;
  X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -2 * kDay);
  X509_gmtime_adj(X509_getm_notAfter(certificate.get()), 365 * kDay);
  return certificate;
}

void sign(const Certificate& certificate, const Key& key) {
  require(X509_sign(certificate.get(), key.get(), EVP_sha256()) > 0);
}

Certificate makeRoot(const Key& key, const std::string& organization) {
  Certificate root = blankCertificate(key);
  X509_NAME* name = X509_get_subject_name(root.get());
  addField(name, "O", organization);
  addField(name, "CN", organization + " Root");
  X509_set_issuer_name(root.get(), name);
  addExtension(root.get(), NID_basic_constraints, "critical,CA:TRUE");
  addExtension(root.get(), NID_key_usage, "critical,keyCertSign");
  sign(root, key);
  return root;
}

Certificate makeLeaf(const Key& key, const Certificate& root, const Key& rootKey,
                     const SigningIdentityRequest& request) {
  Certificate leaf = blankCertificate(key);
  X509_NAME* name = X509_get_subject_name(leaf.get());
  addField(name, "O", request.organization);
  addField(name, "OU", request.organizationalUnit);
  addField(name, "CN", request.commonName);
  X509_set_issuer_name(leaf.get(), X509_get_subject_name(root.get()));
  if (request.isExpired) X509_gmtime_adj(X509_getm_notAfter(leaf.get()), -60);
  addExtension(leaf.get(), NID_basic_constraints, "critical,CA:FALSE");
  addExtension(leaf.get(), NID_key_usage, "critical,digitalSignature");
  addExtension(leaf.get(), NID_ext_key_usage, request.isForCodeSigning ? "critical,codeSigning" : "serverAuth");
  sign(leaf, rootKey);
  return leaf;
}

}  // namespace

MadeSigningIdentity makeSigningIdentity(const SigningIdentityRequest& request) {
  const Key rootKey(EVP_EC_gen("P-256"));
  const Key key(EVP_EC_gen("P-256"));
  require(rootKey && key);
  const Certificate root = makeRoot(rootKey, request.organization);
  const Certificate leaf = makeLeaf(key, root, rootKey, request);
  MadeSigningIdentity made{.key = pem(key), .certificates = pem(leaf), .root = pem(root)};
  if (request.includesRoot) made.certificates += made.root;
  return made;
}

const MadeSigningIdentity& sharedSigningIdentity() {
  static const MadeSigningIdentity kShared = makeSigningIdentity();
  return kShared;
}

}  // namespace quillon::testing
