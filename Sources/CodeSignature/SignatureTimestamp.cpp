#include "CodeSignature/SignatureTimestamp.h"

#include <openssl/objects.h>

#include <algorithm>
#include <ctime>
#include <string>

#include "CodeSignature/CMSMessage.h"
#include "CodeSignature/CodeHash.h"
#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/OpenSSLHandles.h"

namespace quillon {
namespace {

// Object identifiers of RFC 3161 (content), RFC 2634 and RFC 5035 (attributes).
constexpr std::string_view kTimestampContent = "1.2.840.113549.1.9.16.1.4";
constexpr std::string_view kSigningCertificate = "1.2.840.113549.1.9.16.2.12";
constexpr std::string_view kSigningCertificateV2 = "1.2.840.113549.1.9.16.2.47";

[[noreturn]] void fail() {
  throw CodeSignatureError(CodeSignatureErrorCode::signatureFailed);
}

// ---- The content of a token ----------------------------------------------------------------------------------------

/// What counts of a TSTInfo.
struct TimestampContent {
  int digest = NID_undef;
  std::string_view imprint;
  BERElement encodedTime;
  std::chrono::sys_seconds time;
};

/// RFC 3161 allows `YYYYMMDDhhmmss[.fraction]Z` and nothing else; fractions of seconds are dropped.
std::chrono::sys_seconds timeFrom(const BERElement& element) {
  constexpr std::size_t kDigits = 14;
  if (element.tag != BERTag::generalizedTime || element.content.size() <= kDigits) fail();
  std::string_view text = element.content;
  const auto isNumber = [](std::string_view digits) {
    return !digits.empty() && digits.find_first_not_of("0123456789") == std::string_view::npos;
  };
  if (!isNumber(text.substr(0, kDigits)) || !text.ends_with('Z')) fail();
  const std::string_view fraction = text.substr(kDigits, text.size() - kDigits - 1);
  if (!fraction.empty() && (fraction.front() != '.' || !isNumber(fraction.substr(1)))) fail();
  return cmsTimeFrom(element);
}

void skipIfNext(BERReader& reader, BERTag tag) {
  if (reader.nextHasTag(tag)) (void)reader.next();
}

/// Nobody here knows an extension, so none may be one that has to be known.
void checkExtensions(std::string_view content) {
  BERReader reader(content);
  while (!reader.isAtEnd()) {
    BERReader extension(reader.next(BERTag::sequence).content);
    (void)extension.next(BERTag::objectIdentifier);
    if (extension.nextHasTag(BERTag::boolean)) fail();
    (void)extension.next(BERTag::octetString);
    extension.expectEnd();
  }
}

TimestampContent readContent(std::string_view bytes) {
  BERReader outer(bytes);
  BERReader reader(outer.next(BERTag::sequence).content);
  outer.expectEnd();
  TimestampContent content;
  if (reader.next(BERTag::integer).content != std::string_view("\1")) fail();
  (void)reader.next(BERTag::objectIdentifier);  // policy
  BERReader imprint(reader.next(BERTag::sequence).content);
  content.digest = cmsDigestFrom(imprint.next());
  content.imprint = imprint.next(BERTag::octetString).content;
  imprint.expectEnd();
  (void)reader.next(BERTag::integer);  // serial number
  content.encodedTime = reader.next();
  content.time = timeFrom(content.encodedTime);
  skipIfNext(reader, BERTag::sequence);  // accuracy
  skipIfNext(reader, BERTag::boolean);   // ordering
  skipIfNext(reader, BERTag::integer);   // nonce
  skipIfNext(reader, BERTag::context0);  // a name of the authority; the signature says which certificate it is
  if (reader.nextHasTag(BERTag::context1)) checkExtensions(reader.next().content);
  reader.expectEnd();
  return content;
}

/// The same content read by OpenSSL, which must find the same in it.
void checkWithGeneralReader(std::string_view bytes, const TimestampContent& content) {
  const unsigned char* position = openSSLBytes(bytes);
  const TimestampInfoHandle info(d2i_TS_TST_INFO(nullptr, &position, static_cast<long>(bytes.size())));
  if (!info) fail();
  TS_MSG_IMPRINT* imprint = TS_TST_INFO_get_msg_imprint(info.get());
  const ASN1_OBJECT* algorithm = nullptr;
  X509_ALGOR_get0(&algorithm, nullptr, nullptr, TS_MSG_IMPRINT_get_algo(imprint));
  const ASN1_OCTET_STRING* hash = TS_MSG_IMPRINT_get_msg(imprint);
  const std::string_view value(reinterpret_cast<const char*>(ASN1_STRING_get0_data(hash)),
                               static_cast<std::size_t>(ASN1_STRING_length(hash)));
  const std::string time = derOf(TS_TST_INFO_get_time(info.get()), i2d_ASN1_GENERALIZEDTIME);
  if (OBJ_obj2nid(algorithm) != content.digest || value != content.imprint || time != content.encodedTime.whole) fail();
}

// ---- The certificate that the authority says it signs with ---------------------------------------------------------

/// IssuerSerial of RFC 5035: one directory name, and the serial number.
void checkIssuerAndSerial(std::string_view content, std::string_view certificate) {
  const unsigned char* position = openSSLBytes(certificate);
  const CertificateHandle parsed(d2i_X509(nullptr, &position, static_cast<long>(certificate.size())));
  if (!parsed) fail();
  BERReader reader(content);
  BERReader names(reader.next(BERTag::sequence).content);
  const BERElement name = names.next(BERTag::context4);
  names.expectEnd();
  const BERElement serial = reader.next(BERTag::integer);
  reader.expectEnd();
  if (name.content != derOf(X509_get_issuer_name(parsed.get()), i2d_X509_NAME)) fail();
  if (serial.whole != derOf(X509_get0_serialNumber(parsed.get()), i2d_ASN1_INTEGER)) fail();
}

/// Compares the first certificate of a signingCertificate attribute, which is the signer's, with the one that the
/// signature was checked with. The two versions of the attribute differ in whether they can name a digest.
void checkSigningCertificate(const BERElement* attribute, std::string_view certificate, bool namesDigest) {
  if (attribute == nullptr) return;
  if (attribute->tag != BERTag::sequence) fail();
  BERReader reader(attribute->content);
  BERReader identifiers(reader.next(BERTag::sequence).content);
  BERReader first(identifiers.next(BERTag::sequence).content);
  int digest = namesDigest ? NID_sha256 : NID_sha1;
  if (namesDigest && first.nextHasTag(BERTag::sequence)) digest = cmsDigestFrom(first.next());
  if (first.next(BERTag::octetString).content != cmsDigest(digest, certificate)) fail();
  if (!first.isAtEnd()) checkIssuerAndSerial(first.next(BERTag::sequence).content, certificate);
  first.expectEnd();
}

}  // namespace

SignatureTimestamp verifySignatureTimestamp(std::string_view token, std::string_view signatureValue,
                                            const TrustAnchors& anchors) {
  const CMSMessage message =
      verifyCMSMessage(token, {.contentType = kTimestampContent, .version = 3, .holdsContent = true});
  // Nothing vouches for unsigned attributes, and authorities add none.
  if (message.unsignedAttributes.count() != 0) fail();
  const CMSAttributes& attributes = message.signedAttributes;
  checkSigningCertificate(attributes.findSingle(kSigningCertificate), message.signer, false);
  checkSigningCertificate(attributes.findSingle(kSigningCertificateV2), message.signer, true);

  const TimestampContent content = readContent(message.content);
  checkWithGeneralReader(message.content, content);
  if (content.imprint != cmsDigest(content.digest, signatureValue)) fail();

  return {.time = content.time,
          .chain = buildCertificateChain(message.signer, message.certificates, anchors, content.time,
                                         CertificatePurpose::timeStamping)};
}

}  // namespace quillon
