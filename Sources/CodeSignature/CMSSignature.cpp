#include "CodeSignature/CMSSignature.h"

#include <algorithm>
#include <utility>

#include "CodeSignature/BERElement.h"
#include "CodeSignature/CMSMessage.h"
#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/DERElement.h"
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

// Algorithms of signatures made here (RFC 5754, RFC 5758).
constexpr std::string_view kSHA256 = "2.16.840.1.101.3.4.2.1";
constexpr std::string_view kSHA256WithRSA = "1.2.840.113549.1.1.11";
constexpr std::string_view kECDSAWithSHA256 = "1.2.840.10045.4.3.2";

constexpr std::string_view kHashesKey = "cdhashes";

[[noreturn]] void fail() {
  throw CodeSignatureError(CodeSignatureErrorCode::signatureFailed);
}

// ---- Reading -------------------------------------------------------------------------------------------------------

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

std::string derAttribute(std::string_view type, std::vector<std::string> values) {
  return derElement(BERTag::sequence, derObjectIdentifier(type) + derSetOf(std::move(values)));
}

std::string derAlgorithm(std::string_view type, bool hasNullParameters = true) {
  const std::string parameters = hasNullParameters ? derElement(BERTag::null, {}) : std::string();
  return derElement(BERTag::sequence, derObjectIdentifier(type) + parameters);
}

std::string derVersion1() {
  return derElement(BERTag::integer, "\1");
}

/// RFC 5652 wants UTCTime as long as its two digits of the year suffice.
std::string derTime(std::chrono::sys_seconds time) {
  const TimeHandle value(ASN1_TIME_set(nullptr, std::chrono::system_clock::to_time_t(time)));
  if (!value) failSigning("signing time");
  return derOf(value.get(), i2d_ASN1_TIME);
}

std::vector<std::string> typedHashValues(const std::vector<CodeDirectory>& directories) {
  std::vector<std::string> values;
  for (const CodeDirectory& directory : directories) {
    const std::string algorithm = derElement(BERTag::objectIdentifier, digestObjectIdentifier(directory.hashType));
    values.push_back(derElement(BERTag::sequence, algorithm + derElement(BERTag::octetString, directory.fullHash())));
  }
  return values;
}

std::vector<std::string> signedAttributes(const std::vector<CodeDirectory>& directories,
                                          std::optional<std::chrono::sys_seconds> signingTime) {
  const std::string digest = codeHash(CodeHashType::sha256, directories.front().blob);
  std::vector<std::string> attributes;
  attributes.push_back(derAttribute(kContentType, {derObjectIdentifier(kData)}));
  attributes.push_back(derAttribute(kMessageDigest, {derElement(BERTag::octetString, digest)}));
  attributes.push_back(
      derAttribute(kListedHashes, {derElement(BERTag::octetString, hashListPropertyList(directories))}));
  attributes.push_back(derAttribute(kTypedHashes, typedHashValues(directories)));
  if (signingTime) attributes.push_back(derAttribute(kSigningTime, {derTime(*signingTime)}));
  return attributes;
}

std::string signatureAlgorithm(const EVP_PKEY* key) {
  switch (EVP_PKEY_get_base_id(key)) {
    case EVP_PKEY_RSA:
      return derAlgorithm(kSHA256WithRSA);
    case EVP_PKEY_EC:
      return derAlgorithm(kECDSAWithSHA256, false);
    default:
      failSigning("keys of this kind are not supported");
  }
}

std::string signWithKey(EVP_PKEY* key, std::string_view bytes) {
  const DigestContextHandle context(EVP_MD_CTX_new());
  std::size_t length = 0;
  if (!context || EVP_DigestSignInit(context.get(), nullptr, EVP_sha256(), nullptr, key) != 1 ||
      EVP_DigestSign(context.get(), nullptr, &length, openSSLBytes(bytes), bytes.size()) != 1) {
    failSigning("signature value");
  }
  std::string signature(length, '\0');
  if (EVP_DigestSign(context.get(), reinterpret_cast<unsigned char*>(signature.data()), &length, openSSLBytes(bytes),
                     bytes.size()) != 1) {
    failSigning("signature value");
  }
  signature.resize(length);
  return signature;
}

/// SignerInfo of RFC 5652.
std::string derSignerInfo(const SigningIdentity::Content& identity, const std::vector<std::string>& attributes) {
  const X509* certificate = identity.certificates.front().get();
  const std::string identifier = derOf(X509_get_issuer_name(certificate), i2d_X509_NAME) +
                                 derOf(X509_get0_serialNumber(certificate), i2d_ASN1_INTEGER);
  // What is signed is the SET; in the message it stands under a tag of its own.
  const std::string signature = signWithKey(identity.key.get(), derSetOf(attributes));
  return derElement(BERTag::sequence, derVersion1() + derElement(BERTag::sequence, identifier) + derAlgorithm(kSHA256) +
                                          derSetOf(attributes, BERTag::context0) +
                                          signatureAlgorithm(identity.key.get()) +
                                          derElement(BERTag::octetString, signature));
}

}  // namespace

CMSSignature verifyCMSSignature(std::string_view message, const CMSDetachedContent& content) {
  const CMSMessage parsed = verifyCMSMessage(message, {.contentType = kData, .version = 1}, content);
  CMSSignature signature;
  signature.signer = parsed.signer;
  signature.certificates = parsed.certificates;
  signature.signatureValue = parsed.signatureValue;
  const CMSAttributes& attributes = parsed.signedAttributes;
  if (const BERElement* time = attributes.findSingle(kSigningTime)) signature.signingTime = cmsTimeFrom(*time);
  if (const BERElement* list = attributes.findSingle(kListedHashes)) signature.listedHashes = listedHashesFrom(*list);
  if (const auto* hashes = attributes.find(kTypedHashes)) signature.typedHashes = typedHashesFrom(*hashes);
  if (const BERElement* token = parsed.unsignedAttributes.findSingle(kTimestampToken)) {
    signature.timestampToken = std::string(token->whole);
  }
  // Only a time stamp is protected by something; anything else could be changed, added and taken away.
  if (parsed.unsignedAttributes.count() != (signature.timestampToken ? 1U : 0U)) fail();
  return signature;
}

std::string makeCMSSignature(const std::vector<CodeDirectory>& directories, const SigningIdentity& identity,
                             std::optional<std::chrono::sys_seconds> signingTime) {
  const SigningIdentity::Content& content = identity.content();
  const std::string signedData = derVersion1() + derSetOf({derAlgorithm(kSHA256)}) +
                                 derElement(BERTag::sequence, derObjectIdentifier(kData)) +  // detached
                                 derSetOf(content.chain, BERTag::context0) +
                                 derSetOf({derSignerInfo(content, signedAttributes(directories, signingTime))});
  return derElement(BERTag::sequence, derObjectIdentifier(kSignedData) +
                                          derElement(BERTag::context0, derElement(BERTag::sequence, signedData)));
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
