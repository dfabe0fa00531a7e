#include "CodeSignature/CMSMessage.h"

#include <openssl/objects.h>

#include <algorithm>
#include <ctime>
#include <utility>

#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/ObjectIdentifier.h"
#include "CodeSignature/OpenSSLHandles.h"

namespace quillon {
namespace {

// Object identifiers of RFC 5652.
constexpr std::string_view kSignedData = "1.2.840.113549.1.7.2";
constexpr std::string_view kContentType = "1.2.840.113549.1.9.3";
constexpr std::string_view kMessageDigest = "1.2.840.113549.1.9.4";

/// Far more than any chain has; every certificate has to be part of one.
constexpr std::size_t kCertificateLimit = 32;

[[noreturn]] void fail() {
  throw CodeSignatureError(CodeSignatureErrorCode::signatureFailed);
}

bool isObject(const BERElement& element, std::string_view dotted) {
  return element.tag == BERTag::objectIdentifier && element.content == objectIdentifierContent(dotted);
}

void expectObject(BERReader& reader, std::string_view dotted) {
  if (!isObject(reader.next(), dotted)) fail();
}

void expectVersion(BERReader& reader, char version) {
  if (reader.next(BERTag::integer).content != std::string_view(&version, 1)) fail();
}

/// The algorithm's identifier; its parameters may be absent or NULL and nothing else.
int algorithmFrom(const BERElement& element) {
  if (element.tag != BERTag::sequence) fail();
  BERReader reader(element.content);
  const std::string_view object = reader.next(BERTag::objectIdentifier).whole;
  if (!reader.isAtEnd() && !reader.next(BERTag::null).content.empty()) fail();
  reader.expectEnd();
  const unsigned char* position = openSSLBytes(object);
  const ObjectHandle parsed(d2i_ASN1_OBJECT(nullptr, &position, static_cast<long>(object.size())));
  return OBJ_obj2nid(parsed.get());
}

const EVP_MD* digestNamed(int identifier) {
  switch (identifier) {
    case NID_sha1:
      return EVP_sha1();
    case NID_sha256:
      return EVP_sha256();
    case NID_sha384:
      return EVP_sha384();
    case NID_sha512:
      return EVP_sha512();
    default:
      fail();
  }
}

int digestOf(CodeHashType type) {
  switch (type) {
    case CodeHashType::sha1:
      return NID_sha1;
    case CodeHashType::sha256:
    case CodeHashType::sha256Truncated:
      return NID_sha256;
    case CodeHashType::sha384:
      return NID_sha384;
  }
  return NID_undef;
}

/// The parts of a SignerInfo as they stand in the message.
struct SignerInfo {
  std::string_view issuer;  // with header
  std::string_view serial;  // with header
  int digest = NID_undef;
  BERElement signedAttributes;
  int signatureAlgorithm = NID_undef;
  std::string_view signature;
  std::optional<BERElement> unsignedAttributes;
};

struct SignedData {
  std::optional<std::string_view> content;
  std::vector<std::string> certificates;
  SignerInfo signer;
};

SignerInfo readSignerInfo(std::string_view content) {
  SignerInfo info;
  BERReader reader(content);
  expectVersion(reader, 1);  // the certificate is named by issuer and serial number
  BERReader identifier(reader.next(BERTag::sequence).content);
  info.issuer = identifier.next(BERTag::sequence).whole;
  info.serial = identifier.next(BERTag::integer).whole;
  identifier.expectEnd();
  info.digest = cmsDigestFrom(reader.next());
  info.signedAttributes = reader.next(BERTag::context0);
  info.signatureAlgorithm = algorithmFrom(reader.next());
  info.signature = reader.next(BERTag::octetString).content;
  if (!reader.isAtEnd()) info.unsignedAttributes = reader.next(BERTag::context1);
  reader.expectEnd();
  return info;
}

/// The SignedData below the two wrappers that every message has.
BERElement unwrapMessage(std::string_view bytes) {
  BERReader outer(bytes);
  BERReader contentInfo(outer.next(BERTag::sequence).content);
  outer.expectEnd();
  expectObject(contentInfo, kSignedData);
  BERReader wrapper(contentInfo.next(BERTag::context0).content);
  contentInfo.expectEnd();
  const BERElement signedData = wrapper.next(BERTag::sequence);
  wrapper.expectEnd();
  return signedData;
}

std::optional<std::string_view> readContent(std::string_view encapsulated, const CMSMessageForm& form) {
  BERReader reader(encapsulated);
  expectObject(reader, form.contentType);
  std::optional<std::string_view> content;
  if (form.holdsContent) {
    BERReader wrapper(reader.next(BERTag::context0).content);
    content = wrapper.next(BERTag::octetString).content;
    wrapper.expectEnd();
  }
  reader.expectEnd();
  return content;
}

std::vector<std::string> readCertificates(std::string_view content) {
  std::vector<std::string> certificates;
  BERReader reader(content);
  while (!reader.isAtEnd()) {
    std::string certificate(reader.next(BERTag::sequence).whole);
    const bool isRepeated = std::ranges::find(certificates, certificate) != certificates.end();
    if (isRepeated || certificates.size() == kCertificateLimit) fail();
    certificates.push_back(std::move(certificate));
  }
  return certificates;
}

SignedData readMessage(std::string_view bytes, const CMSMessageForm& form) {
  BERReader reader(unwrapMessage(bytes).content);
  SignedData message;
  expectVersion(reader, form.version);
  BERReader digests(reader.next(BERTag::set).content);
  const int digest = cmsDigestFrom(digests.next());
  digests.expectEnd();
  message.content = readContent(reader.next(BERTag::sequence).content, form);
  message.certificates = readCertificates(reader.next(BERTag::context0).content);
  BERReader signers(reader.next(BERTag::set).content);
  message.signer = readSignerInfo(signers.next(BERTag::sequence).content);
  signers.expectEnd();
  reader.expectEnd();
  if (message.signer.digest != digest) fail();
  return message;
}

/// The certificate that the signer names, by the very bytes of issuer and serial number: comparing names as OpenSSL
/// does would forgive changes of case.
CertificateHandle signerCertificate(const SignedData& message, std::string& der) {
  for (const std::string& candidate : message.certificates) {
    const unsigned char* position = openSSLBytes(candidate);
    CertificateHandle certificate(d2i_X509(nullptr, &position, static_cast<long>(candidate.size())));
    if (!certificate) fail();
    if (derOf(X509_get_issuer_name(certificate.get()), i2d_X509_NAME) != message.signer.issuer) continue;
    if (derOf(X509_get0_serialNumber(certificate.get()), i2d_ASN1_INTEGER) != message.signer.serial) continue;
    der = candidate;
    return certificate;
  }
  fail();
}

/// Signed attributes are signed as the SET they mean, whatever tag they stand under in the message.
std::string signedBytes(const BERElement& attributes) {
  std::string bytes(1, static_cast<char>(BERTag::set));
  // Definite lengths are minimal, so that only the tag differs from what was signed.
  if (attributes.whole.size() >= 2 && static_cast<unsigned char>(attributes.whole[1]) == 0x80) fail();
  return bytes.append(attributes.whole.substr(1));
}

void checkSignatureValue(const SignerInfo& signer, X509* certificate) {
  EVP_PKEY* key = X509_get0_pubkey(certificate);
  int signatureDigest = NID_undef;
  int keyKind = NID_undef;
  if (signer.signatureAlgorithm == NID_rsaEncryption) {
    keyKind = NID_rsaEncryption;
  } else if (OBJ_find_sigid_algs(signer.signatureAlgorithm, &signatureDigest, &keyKind) != 1 ||
             signatureDigest != signer.digest) {
    fail();
  }
  if (key == nullptr || EVP_PKEY_get_base_id(key) != keyKind) fail();
  const std::string bytes = signedBytes(signer.signedAttributes);
  const DigestContextHandle context(EVP_MD_CTX_new());
  if (!context || EVP_DigestVerifyInit(context.get(), nullptr, digestNamed(signer.digest), nullptr, key) != 1 ||
      EVP_DigestVerify(context.get(), openSSLBytes(signer.signature), signer.signature.size(), openSSLBytes(bytes),
                       bytes.size()) != 1) {
    fail();
  }
}

void checkDigest(const std::string& digest, const BERElement& attribute) {
  if (attribute.tag != BERTag::octetString || attribute.content != digest) fail();
}

/// OpenSSL's reader asked whether the message signs the content that it holds, and this content only.
void checkHeldContentWithGeneralReader(CMS_ContentInfo* message, std::string_view content) {
  const BIOHandle output(BIO_new(BIO_s_mem()));
  if (!output ||
      CMS_verify(message, nullptr, nullptr, nullptr, output.get(), CMS_BINARY | CMS_NO_SIGNER_CERT_VERIFY) != 1) {
    fail();
  }
  char* bytes = nullptr;
  const long length = BIO_get_mem_data(output.get(), &bytes);
  if (std::string_view(bytes, static_cast<std::size_t>(length)) != content) fail();
}

std::string_view contentOf(const ASN1_OCTET_STRING* bytes) {
  return {reinterpret_cast<const char*>(ASN1_STRING_get0_data(bytes)),
          static_cast<std::size_t>(ASN1_STRING_length(bytes))};
}

/// OpenSSL's reader asked whether the message signs a digest. Given the content it would hash that once more, and it
/// may be large.
void checkDigestWithGeneralReader(CMS_ContentInfo* message, std::string_view digest) {
  if (CMS_set1_signers_certs(message, nullptr, 0) != 1) fail();
  STACK_OF(CMS_SignerInfo)* signers = CMS_get0_SignerInfos(message);
  if (sk_CMS_SignerInfo_num(signers) != 1) fail();
  CMS_SignerInfo* signer = sk_CMS_SignerInfo_value(signers, 0);
  constexpr int kOnlyOneWithOneValue = -3;
  const auto* signedDigest = static_cast<const ASN1_OCTET_STRING*>(CMS_signed_get0_data_by_OBJ(
      signer, OBJ_nid2obj(NID_pkcs9_messageDigest), kOnlyOneWithOneValue, V_ASN1_OCTET_STRING));
  if (signedDigest == nullptr || contentOf(signedDigest) != digest || CMS_SignerInfo_verify(signer) != 1) fail();
}

}  // namespace

CMSAttributes CMSAttributes::parse(std::string_view content) {
  CMSAttributes attributes;
  BERReader reader(content);
  while (!reader.isAtEnd()) {
    BERReader attribute(reader.next(BERTag::sequence).content);
    const std::string_view type = attribute.next(BERTag::objectIdentifier).content;
    BERReader values(attribute.next(BERTag::set).content);
    attribute.expectEnd();
    std::vector<BERElement> elements;
    while (!values.isAtEnd()) elements.push_back(values.next());
    if (elements.empty() || !attributes.values_.emplace(type, std::move(elements)).second) fail();
  }
  return attributes;
}

const std::vector<BERElement>* CMSAttributes::find(std::string_view dotted) const {
  const auto found = values_.find(objectIdentifierContent(dotted).value());
  return found == values_.end() ? nullptr : &found->second;
}

const BERElement* CMSAttributes::findSingle(std::string_view dotted) const {
  const std::vector<BERElement>* values = find(dotted);
  if (values == nullptr) return nullptr;
  if (values->size() != 1) fail();
  return &values->front();
}

const BERElement& CMSAttributes::requireSingle(std::string_view dotted) const {
  const BERElement* value = findSingle(dotted);
  if (value == nullptr) fail();
  return *value;
}

std::string CMSDetachedContent::digest(int digest) const {
  const bool isKnown = knownHashType_ && digestOf(*knownHashType_) == digest;
  return isKnown ? knownHash_ : cmsDigest(digest, bytes_);
}

CMSMessage verifyCMSMessage(std::string_view bytes, const CMSMessageForm& form,
                            const CMSDetachedContent& detachedContent) {
  const SignedData parsed = readMessage(bytes, form);
  const CMSDetachedContent content = parsed.content ? CMSDetachedContent(*parsed.content) : detachedContent;
  const std::string digest = content.digest(parsed.signer.digest);
  CMSMessage message;
  message.content = content.bytes();
  message.signedAttributes = CMSAttributes::parse(parsed.signer.signedAttributes.content);
  if (!isObject(message.signedAttributes.requireSingle(kContentType), form.contentType)) fail();
  checkDigest(digest, message.signedAttributes.requireSingle(kMessageDigest));

  const CertificateHandle certificate = signerCertificate(parsed, message.signer);
  checkSignatureValue(parsed.signer, certificate.get());
  const BIOHandle input = bioOver(bytes);
  const CMSHandle generallyRead(d2i_CMS_bio(input.get(), nullptr));
  if (!generallyRead) fail();
  if (form.holdsContent) {
    checkHeldContentWithGeneralReader(generallyRead.get(), message.content);
  } else {
    checkDigestWithGeneralReader(generallyRead.get(), digest);
  }

  message.certificates = parsed.certificates;
  message.signatureValue = parsed.signer.signature;
  if (parsed.signer.unsignedAttributes) {
    message.unsignedAttributes = CMSAttributes::parse(parsed.signer.unsignedAttributes->content);
    if (message.unsignedAttributes.count() == 0) fail();
  }
  return message;
}

int cmsDigestFrom(const BERElement& algorithm) {
  const int digest = algorithmFrom(algorithm);
  (void)digestNamed(digest);
  return digest;
}

std::string cmsDigest(int digest, std::string_view bytes) {
  unsigned char value[EVP_MAX_MD_SIZE];
  unsigned int length = 0;
  if (EVP_Digest(bytes.data(), bytes.size(), value, &length, digestNamed(digest), nullptr) != 1) fail();
  return {reinterpret_cast<const char*>(value), length};
}

std::chrono::sys_seconds cmsTimeFrom(const BERElement& element) {
  if (element.tag != BERTag::utcTime && element.tag != BERTag::generalizedTime) fail();
  const unsigned char* position = openSSLBytes(element.whole);
  const TimeHandle time(d2i_ASN1_TIME(nullptr, &position, static_cast<long>(element.whole.size())));
  std::tm calendar{};
  if (!time || ASN1_TIME_to_tm(time.get(), &calendar) != 1) fail();
  return std::chrono::sys_seconds(std::chrono::seconds(timegm(&calendar)));
}

}  // namespace quillon
