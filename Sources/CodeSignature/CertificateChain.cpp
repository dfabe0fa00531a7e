#include "CodeSignature/CertificateChain.h"

#include <openssl/objects.h>
#include <openssl/x509_vfy.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <array>
#include <utility>

#include "CodeSignature/CodeHash.h"
#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/OpenSSLHandles.h"

namespace quillon {
namespace {

[[noreturn]] void fail(CodeSignatureErrorCode code = CodeSignatureErrorCode::signatureFailed) {
  throw CodeSignatureError(code);
}

CertificateHandle certificateFrom(std::string_view der) {
  const unsigned char* position = openSSLBytes(der);
  CertificateHandle certificate(d2i_X509(nullptr, &position, static_cast<long>(der.size())));
  // Every byte must belong to the certificate and be encoded as it would be written again.
  if (!certificate || derOf(certificate.get(), i2d_X509) != der) fail();
  return certificate;
}

std::string textOf(const ASN1_STRING* value) {
  unsigned char* buffer = nullptr;
  const int length = ASN1_STRING_to_UTF8(&buffer, value);
  if (length < 0) return {};
  std::string text(reinterpret_cast<const char*>(buffer), static_cast<std::size_t>(length));
  OPENSSL_free(buffer);
  return text;
}

std::multimap<std::string, std::string, std::less<>> subjectOf(const X509* certificate) {
  static constexpr auto kFields = std::to_array<std::pair<int, const char*>>({{NID_commonName, "CN"},
                                                                              {NID_organizationName, "O"},
                                                                              {NID_organizationalUnitName, "OU"},
                                                                              {NID_countryName, "C"},
                                                                              {NID_localityName, "L"},
                                                                              {NID_stateOrProvinceName, "ST"},
                                                                              {NID_streetAddress, "STREET"},
                                                                              {NID_domainComponent, "DC"},
                                                                              {NID_userId, "UID"},
                                                                              {NID_pkcs9_emailAddress, "email"}});
  std::multimap<std::string, std::string, std::less<>> subject;
  const X509_NAME* name = X509_get_subject_name(certificate);
  for (int i = 0; i < X509_NAME_entry_count(name); ++i) {
    const X509_NAME_ENTRY* entry = X509_NAME_get_entry(name, i);
    const int kind = OBJ_obj2nid(X509_NAME_ENTRY_get_object(entry));
    const auto* field = std::ranges::find(kFields, kind, &std::pair<int, const char*>::first);
    if (field != kFields.end()) subject.emplace(field->second, textOf(X509_NAME_ENTRY_get_data(entry)));
  }
  return subject;
}

std::map<std::string, std::string, std::less<>> extensionsOf(const X509* certificate) {
  std::map<std::string, std::string, std::less<>> extensions;
  for (int i = 0; i < X509_get_ext_count(certificate); ++i) {
    X509_EXTENSION* extension = X509_get_ext(certificate, i);
    const ASN1_OBJECT* object = X509_EXTENSION_get_object(extension);
    const ASN1_OCTET_STRING* data = X509_EXTENSION_get_data(extension);
    extensions.emplace(std::string(reinterpret_cast<const char*>(OBJ_get0_data(object)), OBJ_length(object)),
                       std::string(reinterpret_cast<const char*>(ASN1_STRING_get0_data(data)),
                                   static_cast<std::size_t>(ASN1_STRING_length(data))));
  }
  return extensions;
}

bool isSelfIssued(const X509* certificate) {
  return X509_NAME_cmp(X509_get_subject_name(certificate), X509_get_issuer_name(certificate)) == 0;
}

bool isMadeForCodeSigning(X509* certificate) {
  return (X509_get_extension_flags(certificate) & EXFLAG_XKUSAGE) != 0 &&
         (X509_get_extended_key_usage(certificate) & XKU_CODE_SIGN) != 0;
}

bool isMadeForTimeStamping(X509* certificate) {
  const std::unique_ptr<EXTENDED_KEY_USAGE, OpenSSLDeleter<EXTENDED_KEY_USAGE_free>> purposes(
      static_cast<EXTENDED_KEY_USAGE*>(X509_get_ext_d2i(certificate, NID_ext_key_usage, nullptr, nullptr)));
  if (!purposes || sk_ASN1_OBJECT_num(purposes.get()) != 1) return false;
  // Without the extension every bit is set.
  const std::uint32_t keyUsage = X509_get_key_usage(certificate);
  return OBJ_obj2nid(sk_ASN1_OBJECT_value(purposes.get(), 0)) == NID_time_stamp &&
         (keyUsage & (KU_DIGITAL_SIGNATURE | KU_NON_REPUDIATION)) != 0;
}

bool isMadeFor(CertificatePurpose purpose, X509* certificate) {
  switch (purpose) {
    case CertificatePurpose::codeSigning:
      return isMadeForCodeSigning(certificate);
    case CertificatePurpose::timeStamping:
      return isMadeForTimeStamping(certificate);
  }
  return false;
}

/// The chain as OpenSSL finds it, trusting every self-signed certificate at hand.
std::vector<std::string> verifiedChain(X509* leaf, const std::vector<CertificateHandle>& pool,
                                       std::optional<std::chrono::sys_seconds> time) {
  const StoreHandle store(X509_STORE_new());
  const CertificateStackHandle untrusted(sk_X509_new_null());
  const StoreContextHandle context(X509_STORE_CTX_new());
  if (!store || !untrusted || !context) fail();
  for (const CertificateHandle& certificate : pool) {
    if (isSelfIssued(certificate.get())) {
      X509_STORE_add_cert(store.get(), certificate.get());
    } else {
      sk_X509_push(untrusted.get(), certificate.get());
    }
  }
  if (X509_STORE_CTX_init(context.get(), store.get(), leaf, untrusted.get()) != 1) fail();
  X509_VERIFY_PARAM* parameters = X509_STORE_CTX_get0_param(context.get());
  unsigned long flags = X509_V_FLAG_IGNORE_CRITICAL | X509_V_FLAG_CHECK_SS_SIGNATURE;
  if (time) {
    X509_VERIFY_PARAM_set_time(parameters, std::chrono::system_clock::to_time_t(*time));
  } else {
    flags |= X509_V_FLAG_NO_CHECK_TIME;
  }
  X509_VERIFY_PARAM_set_flags(parameters, flags);
  // Code signing chains mark their purpose in extensions that OpenSSL does not know, and old ones have SHA-1 links.
  X509_VERIFY_PARAM_set_purpose(parameters, X509_PURPOSE_ANY);
  X509_VERIFY_PARAM_set_auth_level(parameters, 0);
  if (X509_verify_cert(context.get()) != 1) {
    const int error = X509_STORE_CTX_get_error(context.get());
    const bool isTimeError = error == X509_V_ERR_CERT_HAS_EXPIRED || error == X509_V_ERR_CERT_NOT_YET_VALID;
    fail(isTimeError ? CodeSignatureErrorCode::certificateExpired : CodeSignatureErrorCode::notTrusted);
  }
  const STACK_OF(X509)* found = X509_STORE_CTX_get0_chain(context.get());
  std::vector<std::string> chain;
  chain.reserve(static_cast<std::size_t>(sk_X509_num(found)));
  for (int i = 0; i < sk_X509_num(found); ++i) chain.push_back(derOf(sk_X509_value(found, i), i2d_X509));
  return chain;
}

}  // namespace

std::optional<std::string> CertificateFacts::subjectValue(std::string_view field) const {
  const auto found = subject.find(field);
  return found == subject.end() ? std::nullopt : std::optional(found->second);
}

const CertificateFacts* CertificateChain::certificateAt(std::int32_t position) const noexcept {
  const auto count = static_cast<std::int64_t>(certificates.size());
  const std::int64_t index = position >= 0 ? std::int64_t{position} : count + position;
  if (index < 0 || index >= count) return nullptr;
  return &certificates[static_cast<std::size_t>(index)];
}

CertificateFacts certificateFacts(std::string_view der) {
  const CertificateHandle certificate = certificateFrom(der);
  CertificateFacts facts;
  facts.der = der;
  facts.sha1 = codeHash(CodeHashType::sha1, der);
  facts.sha256 = codeHash(CodeHashType::sha256, der);
  facts.subject = subjectOf(certificate.get());
  facts.extensions = extensionsOf(certificate.get());
  return facts;
}

CertificateChain buildCertificateChain(std::string_view leaf, const std::vector<std::string>& pool,
                                       const TrustAnchors& anchors, std::optional<std::chrono::sys_seconds> time,
                                       CertificatePurpose purpose) {
  const CertificateHandle leafCertificate = certificateFrom(leaf);
  std::vector<CertificateHandle> certificates;
  certificates.reserve(pool.size() + anchors.certificates.size());
  for (const std::string& der : pool) certificates.push_back(certificateFrom(der));
  for (const std::string& der : anchors.certificates) certificates.push_back(certificateFrom(der));
  if (!isMadeFor(purpose, leafCertificate.get())) fail(CodeSignatureErrorCode::notTrusted);

  const std::vector<std::string> ders = verifiedChain(leafCertificate.get(), certificates, time);

  for (const std::string& der : pool) {
    if (std::ranges::find(ders, der) == ders.end()) fail();
  }
  CertificateChain chain;
  for (const std::string& der : ders) chain.certificates.push_back(certificateFacts(der));
  chain.isAnchoredByApple = TrustAnchors::isAppleRoot(chain.root().sha256);
  chain.hasKnownAnchor =
      chain.isAnchoredByApple || std::ranges::find(anchors.certificates, ders.back()) != anchors.certificates.end();
  return chain;
}

}  // namespace quillon
