#include "CodeSignature/CMSSignature.h"

#include <openssl/objects.h>

#include <algorithm>
#include <ctime>
#include <map>

#include "CodeSignature/BERElement.h"
#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/ObjectIdentifier.h"
#include "CodeSignature/OpenSSLHandles.h"
#include "CodeSignature/SigningIdentityContent.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"

namespace quillon {
namespace {

// Object identifiers of RFC 5652 and RFC 3161, and the two attributes with which code signatures name their
// directories.
constexpr std::string_view kData = "1.2.840.113549.1.7.1";
constexpr std::string_view kSignedData = "1.2.840.113549.1.7.2";
constexpr std::string_view kContentType = "1.2.840.113549.1.9.3";
constexpr std::string_view kMessageDigest = "1.2.840.113549.1.9.4";
constexpr std::string_view kSigningTime = "1.2.840.113549.1.9.5";
constexpr std::string_view kTimestampToken = "1.2.840.113549.1.9.16.2.14";
constexpr std::string_view kListedHashes = "1.2.840.113635.100.9.1";
constexpr std::string_view kTypedHashes = "1.2.840.113635.100.9.2";

constexpr std::string_view kHashesKey = "cdhashes";

[[noreturn]] void fail() {
  throw CodeSignatureError(CodeSignatureErrorCode::signatureFailed);
}

// ---- Reading -------------------------------------------------------------------------------------------------------

bool isObject(const BERElement& element, std::string_view dotted) {
  return element.tag == BERTag::objectIdentifier && element.content == objectIdentifierContent(dotted);
}

void expectObject(BERReader& reader, std::string_view dotted) {
  if (!isObject(reader.next(), dotted)) fail();
}

void expectVersion1(BERReader& reader) {
  if (reader.next(BERTag::integer).content != std::string_view("\1")) fail();
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

struct Message {
  std::vector<std::string> certificates;
  SignerInfo signer;
};

SignerInfo readSignerInfo(std::string_view content) {
  SignerInfo info;
  BERReader reader(content);
  expectVersion1(reader);
  BERReader identifier(reader.next(BERTag::sequence).content);
  info.issuer = identifier.next(BERTag::sequence).whole;
  info.serial = identifier.next(BERTag::integer).whole;
  identifier.expectEnd();
  info.digest = algorithmFrom(reader.next());
  info.signedAttributes = reader.next(BERTag::context0);
  info.signatureAlgorithm = algorithmFrom(reader.next());
  info.signature = reader.next(BERTag::octetString).content;
  if (!reader.isAtEnd()) info.unsignedAttributes = reader.next(BERTag::context1);
  reader.expectEnd();
  return info;
}

Message readMessage(std::string_view bytes) {
  BERReader outer(bytes);
  BERReader contentInfo(outer.next(BERTag::sequence).content);
  outer.expectEnd();
  expectObject(contentInfo, kSignedData);
  BERReader wrapper(contentInfo.next(BERTag::context0).content);
  contentInfo.expectEnd();
  BERReader signedData(wrapper.next(BERTag::sequence).content);
  wrapper.expectEnd();

  Message message;
  expectVersion1(signedData);
  BERReader digests(signedData.next(BERTag::set).content);
  const int digest = algorithmFrom(digests.next());
  digests.expectEnd();
  BERReader encapsulated(signedData.next(BERTag::sequence).content);
  expectObject(encapsulated, kData);
  encapsulated.expectEnd();  // detached
  BERReader certificates(signedData.next(BERTag::context0).content);
  while (!certificates.isAtEnd()) message.certificates.emplace_back(certificates.next(BERTag::sequence).whole);
  BERReader signers(signedData.next(BERTag::set).content);
  message.signer = readSignerInfo(signers.next(BERTag::sequence).content);
  signers.expectEnd();
  signedData.expectEnd();
  if (message.signer.digest != digest) fail();
  return message;
}

/// Values of attributes by object identifier (content bytes).
using Attributes = std::map<std::string_view, std::vector<BERElement>>;

Attributes readAttributes(std::string_view content) {
  Attributes attributes;
  BERReader reader(content);
  while (!reader.isAtEnd()) {
    BERReader attribute(reader.next(BERTag::sequence).content);
    const std::string_view type = attribute.next(BERTag::objectIdentifier).content;
    BERReader values(attribute.next(BERTag::set).content);
    attribute.expectEnd();
    std::vector<BERElement> elements;
    while (!values.isAtEnd()) elements.push_back(values.next());
    if (elements.empty() || !attributes.emplace(type, std::move(elements)).second) fail();
  }
  return attributes;
}

const std::vector<BERElement>* findAttribute(const Attributes& attributes, std::string_view dotted) {
  const auto found = attributes.find(objectIdentifierContent(dotted).value());
  return found == attributes.end() ? nullptr : &found->second;
}

const BERElement* findSingleValue(const Attributes& attributes, std::string_view dotted) {
  const std::vector<BERElement>* values = findAttribute(attributes, dotted);
  if (values == nullptr) return nullptr;
  if (values->size() != 1) fail();
  return &values->front();
}

const BERElement& requireSingleValue(const Attributes& attributes, std::string_view dotted) {
  const BERElement* value = findSingleValue(attributes, dotted);
  if (value == nullptr) fail();
  return *value;
}

std::chrono::sys_seconds timeFrom(const BERElement& element) {
  if (element.tag != BERTag::utcTime && element.tag != BERTag::generalizedTime) fail();
  const unsigned char* position = openSSLBytes(element.whole);
  const TimeHandle time(d2i_ASN1_TIME(nullptr, &position, static_cast<long>(element.whole.size())));
  std::tm calendar{};
  if (!time || ASN1_TIME_to_tm(time.get(), &calendar) != 1) fail();
  return std::chrono::sys_seconds(std::chrono::seconds(timegm(&calendar)));
}

std::vector<std::string> listedHashesFrom(const BERElement& element) {
  if (element.tag != BERTag::octetString) fail();
  try {
    const QuillonPropertyListValue list = readPropertyList(element.content);
    const QuillonPropertyListValue* hashes = list.find(kHashesKey);
    const auto* array = hashes == nullptr ? nullptr : hashes->getIf<QuillonPropertyListValue::Array>();
    if (array == nullptr) fail();
    std::vector<std::string> result;
    for (const QuillonPropertyListValue& item : *array) {
      const auto* data = item.getIf<QuillonPropertyListData>();
      if (data == nullptr) fail();
      result.emplace_back(data->bytes.begin(), data->bytes.end());
    }
    return result;
  } catch (const QuillonPropertyListError&) {
    fail();
  }
}

std::vector<CMSSignature::TypedHash> typedHashesFrom(const std::vector<BERElement>& values) {
  std::vector<CMSSignature::TypedHash> result;
  for (const BERElement& value : values) {
    if (value.tag != BERTag::sequence) fail();
    BERReader reader(value.content);
    CMSSignature::TypedHash hash;
    hash.algorithm = reader.next(BERTag::objectIdentifier).content;
    hash.hash = reader.next(BERTag::octetString).content;
    reader.expectEnd();
    result.push_back(std::move(hash));
  }
  return result;
}

/// The certificate that the signer names, by the very bytes of issuer and serial number: comparing names as OpenSSL
/// does would forgive changes of case.
CertificateHandle signerCertificate(const Message& message, std::string& der) {
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
  const EVP_MD* digest = digestNamed(signer.digest);
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
  if (!context || EVP_DigestVerifyInit(context.get(), nullptr, digest, nullptr, key) != 1 ||
      EVP_DigestVerify(context.get(), openSSLBytes(signer.signature), signer.signature.size(), openSSLBytes(bytes),
                       bytes.size()) != 1) {
    fail();
  }
}

void checkDigest(const SignerInfo& signer, std::string_view content, const BERElement& attribute) {
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned int length = 0;
  if (EVP_Digest(content.data(), content.size(), digest, &length, digestNamed(signer.digest), nullptr) != 1) fail();
  const std::string_view computed(reinterpret_cast<const char*>(digest), length);
  if (attribute.tag != BERTag::octetString || attribute.content != computed) fail();
}

/// The same question put to OpenSSL's own reader: two readers that disagree about a message are one too few.
void checkWithGeneralReader(std::string_view message, std::string_view content) {
  const BIOHandle input = bioOver(message);
  const CMSHandle cms(d2i_CMS_bio(input.get(), nullptr));
  const BIOHandle data = bioOver(content);
  if (!cms ||
      CMS_verify(cms.get(), nullptr, nullptr, data.get(), nullptr, CMS_BINARY | CMS_NO_SIGNER_CERT_VERIFY) != 1) {
    fail();
  }
}

// ---- Making --------------------------------------------------------------------------------------------------------

[[noreturn]] void failSigning(std::string_view step) {
  throw QuillonError("The signature could not be made: " + std::string(step));
}

std::string hashListPropertyList(std::vector<CodeDirectory> directories) {
  std::ranges::sort(directories, {}, &CodeDirectory::hashType);
  QuillonPropertyListValue::Array hashes;
  for (const CodeDirectory& directory : directories) {
    const std::string hash = directory.identifyingHash();
    hashes.emplace_back(QuillonPropertyListData{{hash.begin(), hash.end()}});
  }
  QuillonPropertyListValue::Dictionary dictionary;
  dictionary.emplace(kHashesKey, std::move(hashes));
  return writeXMLPropertyList(QuillonPropertyListValue(std::move(dictionary)));
}

std::string derElement(BERTag tag, std::string_view content) {
  // Hashes and object identifiers are short: one length byte is enough.
  std::string element{static_cast<char>(tag), static_cast<char>(content.size())};
  return element.append(content);
}

void addListedHashes(CMS_SignerInfo* signer, const std::vector<CodeDirectory>& directories) {
  const std::string list = hashListPropertyList(directories);
  const ObjectHandle type(OBJ_txt2obj(std::string(kListedHashes).c_str(), 1));
  if (CMS_signed_add1_attr_by_OBJ(signer, type.get(), V_ASN1_OCTET_STRING, list.data(),
                                  static_cast<int>(list.size())) != 1) {
    failSigning("hash list");
  }
}

void addTypedHashes(CMS_SignerInfo* signer, const std::vector<CodeDirectory>& directories) {
  const ObjectHandle type(OBJ_txt2obj(std::string(kTypedHashes).c_str(), 1));
  const std::unique_ptr<X509_ATTRIBUTE, OpenSSLDeleter<X509_ATTRIBUTE_free>> attribute(X509_ATTRIBUTE_new());
  if (!attribute || X509_ATTRIBUTE_set1_object(attribute.get(), type.get()) != 1) failSigning("typed hashes");
  for (const CodeDirectory& directory : directories) {
    const std::string pair =
        derElement(BERTag::sequence, derElement(BERTag::objectIdentifier, digestObjectIdentifier(directory.hashType)) +
                                         derElement(BERTag::octetString, directory.fullHash()));
    if (X509_ATTRIBUTE_set1_data(attribute.get(), V_ASN1_SEQUENCE, pair.data(), static_cast<int>(pair.size())) != 1) {
      failSigning("typed hashes");
    }
  }
  if (CMS_signed_add1_attr(signer, attribute.get()) != 1) failSigning("typed hashes");
}

}  // namespace

CMSSignature verifyCMSSignature(std::string_view message, std::string_view content) {
  const Message parsed = readMessage(message);
  const Attributes attributes = readAttributes(parsed.signer.signedAttributes.content);
  if (!isObject(requireSingleValue(attributes, kContentType), kData)) fail();
  checkDigest(parsed.signer, content, requireSingleValue(attributes, kMessageDigest));

  CMSSignature signature;
  const CertificateHandle certificate = signerCertificate(parsed, signature.signer);
  checkSignatureValue(parsed.signer, certificate.get());
  checkWithGeneralReader(message, content);

  signature.certificates = parsed.certificates;
  signature.signatureValue = parsed.signer.signature;
  if (const BERElement* time = findSingleValue(attributes, kSigningTime)) signature.signingTime = timeFrom(*time);
  if (const BERElement* list = findSingleValue(attributes, kListedHashes)) {
    signature.listedHashes = listedHashesFrom(*list);
  }
  if (const auto* hashes = findAttribute(attributes, kTypedHashes)) signature.typedHashes = typedHashesFrom(*hashes);
  if (parsed.signer.unsignedAttributes) {
    const Attributes extra = readAttributes(parsed.signer.unsignedAttributes->content);
    // Nothing vouches for unsigned attributes. A time stamp is let pass, because it is common, but no time is taken
    // from it; anything else is refused.
    if (extra.size() != 1) fail();
    signature.timestampToken = std::string(requireSingleValue(extra, kTimestampToken).whole);
  }
  return signature;
}

std::string makeCMSSignature(const std::vector<CodeDirectory>& directories, const SigningIdentity& identity) {
  const SigningIdentity::Content& content = identity.content();
  const CMSHandle cms(
      CMS_sign(nullptr, nullptr, nullptr, nullptr, CMS_PARTIAL | CMS_DETACHED | CMS_BINARY | CMS_NOSMIMECAP));
  if (!cms) failSigning("message");
  CMS_SignerInfo* signer = CMS_add1_signer(cms.get(), content.certificates.front().get(), content.key.get(),
                                           EVP_sha256(), CMS_PARTIAL | CMS_BINARY | CMS_NOSMIMECAP | CMS_NOCERTS);
  if (signer == nullptr) failSigning("signer");
  addListedHashes(signer, directories);
  addTypedHashes(signer, directories);
  for (const CertificateHandle& certificate : content.certificates) {
    if (CMS_add1_cert(cms.get(), certificate.get()) != 1) failSigning("certificates");
  }
  const BIOHandle data = bioOver(directories.front().blob);
  if (CMS_final(cms.get(), data.get(), nullptr, CMS_DETACHED | CMS_BINARY) != 1) failSigning("signature value");
  std::string message = derOf(cms.get(), i2d_CMS_ContentInfo);
  if (message.empty()) failSigning("encoding");
  return message;
}

std::string digestObjectIdentifier(CodeHashType type) {
  switch (type) {
    case CodeHashType::sha1:
      return objectIdentifierContent("1.3.14.3.2.26").value();
    case CodeHashType::sha256:
    case CodeHashType::sha256Truncated:
      return objectIdentifierContent("2.16.840.1.101.3.4.2.1").value();
    case CodeHashType::sha384:
      return objectIdentifierContent("2.16.840.1.101.3.4.2.2").value();
  }
  return {};
}

}  // namespace quillon
