#include "Support/TimestampAuthority.h"

#include <openssl/cms.h>
#include <openssl/pem.h>

#include <ctime>
#include <stdexcept>

#include "CodeSignature/DERElement.h"
#include "Support/CertificateMaker.h"

namespace quillon::testing {
namespace {

using Input = std::unique_ptr<BIO, CertificateMakerDeleter<BIO_free_all>>;
using Message = std::unique_ptr<CMS_ContentInfo, CertificateMakerDeleter<CMS_ContentInfo_free>>;
using Object = std::unique_ptr<ASN1_OBJECT, CertificateMakerDeleter<ASN1_OBJECT_free>>;
using Algorithm = std::unique_ptr<X509_ALGOR, CertificateMakerDeleter<X509_ALGOR_free>>;

constexpr const char* kTimestampToken = "1.2.840.113549.1.9.16.2.14";

void require(bool condition) {
  if (!condition) throw std::runtime_error("Cannot make a time stamp");
}

template <typename T, typename Encoder>
std::string encoded(const T* object, Encoder encode) {
  unsigned char* buffer = nullptr;
  const int length = encode(object, &buffer);
  require(length > 0);
  std::string der(reinterpret_cast<const char*>(buffer), static_cast<std::size_t>(length));
  OPENSSL_free(buffer);
  return der;
}

Input inputOver(std::string_view bytes) {
  return Input(BIO_new_mem_buf(bytes.data(), static_cast<int>(bytes.size())));
}

std::string digestOf(const EVP_MD* digest, std::string_view bytes) {
  unsigned char value[EVP_MAX_MD_SIZE];
  unsigned int length = 0;
  require(EVP_Digest(bytes.data(), bytes.size(), value, &length, digest, nullptr) == 1);
  return {reinterpret_cast<const char*>(value), length};
}

const EVP_MD* digestNamed(const std::string& name) {
  const EVP_MD* digest = EVP_get_digestbyname(name.c_str());
  require(digest != nullptr);
  return digest;
}

std::string generalizedTime(std::chrono::sys_seconds time) {
  const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
  std::tm calendar{};
  require(gmtime_r(&seconds, &calendar) != nullptr);
  char text[32];
  require(std::strftime(text, sizeof text, "%Y%m%d%H%M%SZ", &calendar) > 0);
  return text;
}

/// TSTInfo of RFC 3161.
std::string timestampContent(std::string_view signatureValue, const TimestampRequest& request) {
  const EVP_MD* digest = digestNamed(request.imprintDigest);
  std::string imprint = digestOf(digest, signatureValue);
  if (request.hasWrongImprint) imprint.back() = static_cast<char>(imprint.back() ^ 1);
  const Algorithm algorithm(X509_ALGOR_new());
  X509_ALGOR_set_md(algorithm.get(), digest);
  const std::string time = request.timeText.empty() ? generalizedTime(request.time) : request.timeText;
  return derElement(BERTag::sequence,
                    derElement(BERTag::integer, {&request.version, 1}) + derObjectIdentifier("1.2.3.4") +
                        derElement(BERTag::sequence, encoded(algorithm.get(), i2d_X509_ALGOR) +
                                                         derElement(BERTag::octetString, imprint)) +
                        derElement(BERTag::integer, "\7") + derElement(BERTag::generalizedTime, time) + request.rest);
}

Message parsed(std::string_view message) {
  const Input input = inputOver(message);
  Message cms(d2i_CMS_bio(input.get(), nullptr));
  require(cms != nullptr);
  return cms;
}

CMS_SignerInfo* signerOf(const Message& message) {
  STACK_OF(CMS_SignerInfo)* signers = CMS_get0_SignerInfos(message.get());
  require(sk_CMS_SignerInfo_num(signers) == 1);
  return sk_CMS_SignerInfo_value(signers, 0);
}

void addUnsigned(CMS_SignerInfo* signer, const std::string& type, std::string_view value) {
  require(CMS_unsigned_add1_attr_by_txt(signer, type.c_str(), V_ASN1_SEQUENCE, value.data(),
                                        static_cast<int>(value.size())) == 1);
}

MadeCertificate certificateFromPEM(const std::string& pem) {
  const Input input = inputOver(pem);
  MadeCertificate certificate(PEM_read_bio_X509(input.get(), nullptr, nullptr, nullptr));
  require(certificate != nullptr);
  return certificate;
}

}  // namespace

struct TimestampAuthority::Content {
  MadeKey key;
  MadeCertificate root;
  MadeCertificate certificate;
};

TimestampAuthority::TimestampAuthority(const TimestampAuthorityRequest& request)
    : content_(std::make_unique<Content>()) {
  const MadeKey rootKey = makeKey();
  content_->key = makeKey(request.isRSA);
  content_->root = makeRootCertificate(rootKey, request.organization);
  content_->certificate = makeLeafCertificate(content_->key, content_->root, rootKey,
                                              {.commonName = "Time Stamp Signer",
                                               .organization = request.organization,
                                               .organizationalUnit = {},
                                               .keyUsage = request.keyUsage,
                                               .extendedKeyUsage = request.extendedKeyUsage,
                                               .remainingValidity = request.remainingValidity});
}

TimestampAuthority::~TimestampAuthority() = default;

std::string TimestampAuthority::token(std::string_view signatureValue, const TimestampRequest& request) const {
  constexpr unsigned kFlags = CMS_PARTIAL | CMS_BINARY | CMS_NOSMIMECAP | CMS_NOCERTS;
  const Message message(CMS_sign(nullptr, nullptr, nullptr, nullptr, kFlags));
  const Object contentType(OBJ_txt2obj(request.contentType.c_str(), 1));
  require(message && CMS_set1_eContentType(message.get(), contentType.get()) == 1);
  CMS_SignerInfo* signer =
      CMS_add1_signer(message.get(), content_->certificate.get(), content_->key.get(), digestNamed(request.digest),
                      request.namesCertificate ? kFlags | CMS_CADES : kFlags);
  require(signer != nullptr && CMS_add1_cert(message.get(), content_->certificate.get()) == 1);
  if (request.includesRoot) require(CMS_add1_cert(message.get(), content_->root.get()) == 1);
  if (!request.superfluousCertificate.empty()) {
    require(CMS_add1_cert(message.get(), certificateFromPEM(request.superfluousCertificate).get()) == 1);
  }
  if (!request.attributeType.empty()) {
    require(CMS_signed_add1_attr_by_txt(signer, request.attributeType.c_str(), V_ASN1_SEQUENCE,
                                        request.attributeValue.data(),
                                        static_cast<int>(request.attributeValue.size())) == 1);
  }
  const std::string content = timestampContent(signatureValue, request);
  require(CMS_final(message.get(), inputOver(content).get(), nullptr, kFlags) == 1);
  if (request.hasUnsignedAttribute) addUnsigned(signer, "1.2.3.5", derElement(BERTag::sequence, {}));
  return encoded(message.get(), i2d_CMS_ContentInfo);
}

std::string TimestampAuthority::certificate() const {
  return encoded(content_->certificate.get(), i2d_X509);
}

std::string TimestampAuthority::root() const {
  return encoded(content_->root.get(), i2d_X509);
}

const TimestampAuthority& TimestampAuthority::shared() {
  static const TimestampAuthority kShared;
  return kShared;
}

std::string signatureValueOf(std::string_view message) {
  const Message cms = parsed(message);
  const ASN1_OCTET_STRING* value = CMS_SignerInfo_get0_signature(signerOf(cms));
  return {reinterpret_cast<const char*>(ASN1_STRING_get0_data(value)),
          static_cast<std::size_t>(ASN1_STRING_length(value))};
}

std::string timestampedMessage(std::string_view message, const TimestampAuthority& authority,
                               const TimestampRequest& request) {
  return messageWithUnsignedAttribute(message, kTimestampToken, authority.token(signatureValueOf(message), request));
}

std::string messageWithUnsignedAttribute(std::string_view message, const std::string& type, std::string_view value) {
  const Message cms = parsed(message);
  addUnsigned(signerOf(cms), type, value);
  return encoded(cms.get(), i2d_CMS_ContentInfo);
}

}  // namespace quillon::testing
