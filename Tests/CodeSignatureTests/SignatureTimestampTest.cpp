#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "CodeSignature/CMSMessage.h"
#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/DERElement.h"
#include "CodeSignature/OpenSSLHandles.h"
#include "CodeSignature/SignatureTimestamp.h"
#include "Support/SigningIdentityMaker.h"
#include "Support/TimestampAuthority.h"

namespace quillon {
namespace {

using namespace std::string_view_literals;
using testing::TimestampAuthority;
using testing::TimestampAuthorityRequest;
using testing::TimestampRequest;
using enum CodeSignatureErrorCode;

constexpr std::string_view kValue = "signature value";
constexpr const char* kSigningCertificate = "1.2.840.113549.1.9.16.2.12";
constexpr const char* kSigningCertificateV2 = "1.2.840.113549.1.9.16.2.47";
constexpr const char* kSHA256 = "2.16.840.1.101.3.4.2.1";

template <typename Case>
std::string caseName(const ::testing::TestParamInfo<Case>& info) {
  return info.param.name;
}

CodeSignatureErrorCode errorOf(std::string_view token, std::string_view value = kValue) {
  try {
    (void)verifySignatureTimestamp(token, value, {});
  } catch (const CodeSignatureError& error) {
    return error.code();
  }
  return {};
}

TEST(SignatureTimestampTest, TokenSaysWhenAndWho) {
  const TimestampAuthority& authority = TimestampAuthority::shared();
  const std::chrono::sys_seconds time =
      std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now()) - std::chrono::hours(3);

  const SignatureTimestamp timestamp = verifySignatureTimestamp(authority.token(kValue, {.time = time}), kValue, {});

  EXPECT_EQ(timestamp.time, time);
  ASSERT_EQ(timestamp.chain.certificates.size(), 2U);
  EXPECT_EQ(timestamp.chain.leaf().der, authority.certificate());
  EXPECT_EQ(timestamp.chain.root().subjectValue("CN"), "Example Time Root");
  EXPECT_FALSE(timestamp.chain.hasKnownAnchor);
}

TEST(SignatureTimestampTest, InstalledRootNeedNotBeInTheToken) {
  const TimestampAuthority& authority = TimestampAuthority::shared();
  const std::string token = authority.token(kValue, {.includesRoot = false});
  const TrustAnchors anchors{.certificates = {authority.root()}, .refusals = {}};

  EXPECT_TRUE(verifySignatureTimestamp(token, kValue, anchors).chain.hasKnownAnchor);
  EXPECT_EQ(errorOf(token), notTrusted);
}

TEST(SignatureTimestampTest, RSAAuthoritiesAreVerified) {
  const TimestampAuthority authority({.isRSA = true});

  EXPECT_EQ(errorOf(authority.token(kValue)), CodeSignatureErrorCode{});
  EXPECT_EQ(errorOf(authority.token(kValue, {.digest = "SHA1"})), CodeSignatureErrorCode{});
}

TEST(SignatureTimestampTest, TokenOverAnotherValueIsRefused) {
  const std::string token = TimestampAuthority::shared().token(kValue);

  EXPECT_EQ(errorOf(token, "another value"), signatureFailed);
  EXPECT_EQ(errorOf(token, ""), signatureFailed);
}

TEST(SignatureTimestampTest, CutAndExtendedTokensAreRefused) {
  const std::string token = TimestampAuthority::shared().token(kValue);

  for (std::size_t length = 0; length < token.size(); length += 7) {
    EXPECT_EQ(errorOf(token.substr(0, length)), signatureFailed) << length;
  }
  EXPECT_EQ(errorOf(token + '\0'), signatureFailed);
}

TEST(SignatureTimestampTest, MessageOfAnotherKindIsNoToken) {
  // A message that the signer of the code made himself, in the place of a token.
  EXPECT_EQ(errorOf(TimestampAuthority::shared().token(kValue, {.contentType = "1.2.840.113549.1.7.1"})),
            signatureFailed);
  EXPECT_EQ(errorOf(TimestampAuthority::shared().token(kValue, {.contentType = "1.2.840.113549.1.9.16.1.2"})),
            signatureFailed);
}

// ---- Contents ------------------------------------------------------------------------------------------------------

std::string extensions(bool isCritical) {
  const std::string critical = isCritical ? derElement(BERTag::boolean, "\xFF") : std::string();
  return derElement(BERTag::context1, derElement(BERTag::sequence, derObjectIdentifier("1.2.3.6") + critical +
                                                                       derElement(BERTag::octetString, "\5\0"sv)));
}

struct TokenCase {
  const char* name;
  TimestampRequest request;
  friend void PrintTo(const TokenCase& value, std::ostream* out) { *out << value.name; }
};

class GoodTimestampTest : public ::testing::TestWithParam<TokenCase> {};

TEST_P(GoodTimestampTest, TokenIsVerified) {
  EXPECT_EQ(errorOf(TimestampAuthority::shared().token(kValue, GetParam().request)), CodeSignatureErrorCode{});
}

INSTANTIATE_TEST_SUITE_P(
    Tokens, GoodTimestampTest,
    ::testing::Values(TokenCase{"ImprintSHA1", {.imprintDigest = "SHA1"}},
                      TokenCase{"ImprintSHA384", {.imprintDigest = "SHA384"}},
                      TokenCase{"ImprintSHA512", {.imprintDigest = "SHA512"}},
                      TokenCase{"SignedWithSHA1AndFirstCertificateAttribute", {.digest = "SHA1"}},
                      TokenCase{"SignedWithSHA512", {.digest = "SHA512"}},
                      TokenCase{"NoCertificateAttribute", {.namesCertificate = false}},
                      TokenCase{"EverythingOptional",
                                {.rest = derElement(BERTag::sequence, derElement(BERTag::integer, "\1")) +
                                         derElement(BERTag::boolean, "\xFF") + derElement(BERTag::integer, "\x11") +
                                         derElement(BERTag::context0, derElement(static_cast<BERTag>(0x86), "x:y")) +
                                         extensions(false)}}),
    caseName<TokenCase>);

class BadTimestampTest : public ::testing::TestWithParam<TokenCase> {};

TEST_P(BadTimestampTest, TokenIsRefused) {
  EXPECT_EQ(errorOf(TimestampAuthority::shared().token(kValue, GetParam().request)), signatureFailed);
}

INSTANTIATE_TEST_SUITE_P(
    Tokens, BadTimestampTest,
    ::testing::Values(
        TokenCase{"WrongImprint", {.hasWrongImprint = true}}, TokenCase{"UnknownDigest", {.imprintDigest = "MD5"}},
        TokenCase{"LongDigest", {.imprintDigest = "SHA512-256"}}, TokenCase{"OtherVersion", {.version = 2}},
        TokenCase{"UnsignedAttribute", {.hasUnsignedAttribute = true}},
        TokenCase{"SuperfluousCertificate", {.superfluousCertificate = testing::sharedSigningIdentity().root}},
        TokenCase{"UnknownCriticalExtension", {.rest = extensions(true)}},
        TokenCase{"SomethingUnknownAtTheEnd", {.rest = derElement(BERTag::octetString, "x")}},
        TokenCase{"NonceBeforeAccuracy",
                  {.rest = derElement(BERTag::integer, "\x11") +
                           derElement(BERTag::sequence, derElement(BERTag::integer, "\1"))}},
        TokenCase{"TwoNonces", {.rest = derElement(BERTag::integer, "\x11") + derElement(BERTag::integer, "\x12")}}),
    caseName<TokenCase>);

TEST(SignatureTimestampTest, FractionsOfSecondsAreDropped) {
  using namespace std::chrono;
  const auto time = floor<seconds>(system_clock::now()) - hours(1);
  const auto day = floor<days>(time);
  const year_month_day date(day);
  const hh_mm_ss clock(time - day);
  char text[32];
  (void)std::snprintf(text, sizeof text, "%04d%02u%02u%02d%02d%02d.75Z", int(date.year()), unsigned(date.month()),
                      unsigned(date.day()), int(clock.hours().count()), int(clock.minutes().count()),
                      int(clock.seconds().count()));

  const std::string token = TimestampAuthority::shared().token(kValue, {.timeText = text});

  EXPECT_EQ(verifySignatureTimestamp(token, kValue, {}).time, time);
}

TEST(SignatureTimestampTest, OtherFormsOfTimeAreRefused) {
  for (const char* text : {"20260101000000", "202601010000Z", "20260101000000+0000", "20260101000000.Z",
                           "20260101000000,5Z", "20261301000000Z", "20260230000000Z", "20260101250000Z",
                           "2026010100000xZ", "-0260101000000Z", "20260101000000.5x5Z", "20260101000000ZZ", "Z"}) {
    EXPECT_EQ(errorOf(TimestampAuthority::shared().token(kValue, {.timeText = text})), signatureFailed) << text;
  }
}

// ---- Certificates --------------------------------------------------------------------------------------------------

struct AuthorityCase {
  const char* name;
  TimestampAuthorityRequest request;
  CodeSignatureErrorCode error;
  friend void PrintTo(const AuthorityCase& value, std::ostream* out) { *out << value.name; }
};

class TimestampAuthorityTest : public ::testing::TestWithParam<AuthorityCase> {};

TEST_P(TimestampAuthorityTest, CertificateDecides) {
  const TimestampAuthority authority(GetParam().request);

  EXPECT_EQ(errorOf(authority.token(kValue)), GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(
    Authorities, TimestampAuthorityTest,
    ::testing::Values(
        AuthorityCase{"PurposeNotCritical", {.extendedKeyUsage = "timeStamping"}, {}},
        AuthorityCase{"NoKeyUsage", {.keyUsage = ""}, {}},
        AuthorityCase{"NonRepudiation", {.keyUsage = "nonRepudiation"}, {}},
        AuthorityCase{"KeyNotForSignatures", {.keyUsage = "critical,keyEncipherment"}, notTrusted},
        AuthorityCase{"NoPurpose", {.extendedKeyUsage = ""}, notTrusted},
        AuthorityCase{"OtherPurpose", {.extendedKeyUsage = "critical,codeSigning"}, notTrusted},
        AuthorityCase{"OnePurposeMore", {.extendedKeyUsage = "critical,timeStamping,codeSigning"}, notTrusted},
        AuthorityCase{"AnyPurpose", {.extendedKeyUsage = "anyExtendedKeyUsage"}, notTrusted},
        AuthorityCase{"ExpiredSince", {.remainingValidity = std::chrono::minutes(-1)}, {}},
        AuthorityCase{"ExpiredBefore", {.remainingValidity = std::chrono::hours(-2)}, certificateExpired}),
    caseName<AuthorityCase>);

TEST(SignatureTimestampTest, TimeBeforeTheCertificateIsRefused) {
  const auto time = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now()) - std::chrono::hours(72);

  EXPECT_EQ(errorOf(TimestampAuthority::shared().token(kValue, {.time = time})), certificateExpired);
}

TEST(SignatureTimestampTest, AppleSignaturesNeedTheTimeOfApple) {
  CertificateChain own;
  CertificateChain apple;
  apple.isAnchoredByApple = true;

  EXPECT_TRUE((SignatureTimestamp{.time = {}, .chain = own}.countsFor(own)));
  EXPECT_TRUE((SignatureTimestamp{.time = {}, .chain = apple}.countsFor(own)));
  EXPECT_TRUE((SignatureTimestamp{.time = {}, .chain = apple}.countsFor(apple)));
  EXPECT_FALSE((SignatureTimestamp{.time = {}, .chain = own}.countsFor(apple)));
}

// ---- The attribute that names the certificate ----------------------------------------------------------------------

std::string attributeOver(const std::string& identifier) {
  return derElement(BERTag::sequence, derElement(BERTag::sequence, derElement(BERTag::sequence, identifier)));
}

CodeSignatureErrorCode errorWithAttribute(const char* type, const std::string& value) {
  return errorOf(TimestampAuthority::shared().token(
      kValue, {.namesCertificate = false, .attributeType = type, .attributeValue = value}));
}

std::string hashOf(int digest) {
  return derElement(BERTag::octetString, cmsDigest(digest, TimestampAuthority::shared().certificate()));
}

TEST(SignatureTimestampTest, NamedCertificateMustBeTheOneThatSigned) {
  const std::string algorithm = derElement(BERTag::sequence, derObjectIdentifier(kSHA256));
  const std::string foreign = derElement(BERTag::octetString, std::string(20, 'x'));
  const std::string foreignLong = derElement(BERTag::octetString, std::string(32, 'x'));

  EXPECT_EQ(errorWithAttribute(kSigningCertificate, attributeOver(hashOf(NID_sha1))), CodeSignatureErrorCode{});
  EXPECT_EQ(errorWithAttribute(kSigningCertificate, attributeOver(foreign)), signatureFailed);
  EXPECT_EQ(errorWithAttribute(kSigningCertificate, attributeOver(hashOf(NID_sha256))), signatureFailed);
  EXPECT_EQ(errorWithAttribute(kSigningCertificate, attributeOver(algorithm + hashOf(NID_sha256))), signatureFailed);
  EXPECT_EQ(errorWithAttribute(kSigningCertificateV2, attributeOver(hashOf(NID_sha256))), CodeSignatureErrorCode{});
  EXPECT_EQ(errorWithAttribute(kSigningCertificateV2, attributeOver(algorithm + hashOf(NID_sha256))),
            CodeSignatureErrorCode{});
  EXPECT_EQ(errorWithAttribute(kSigningCertificateV2, attributeOver(foreignLong)), signatureFailed);
  EXPECT_EQ(errorWithAttribute(kSigningCertificateV2, derElement(BERTag::sequence, "")), signatureFailed);
}

TEST(SignatureTimestampTest, NamedIssuerAndSerialNumberMustBeThoseOfTheCertificate) {
  const std::string der = TimestampAuthority::shared().certificate();
  const unsigned char* position = openSSLBytes(der);
  const CertificateHandle certificate(d2i_X509(nullptr, &position, static_cast<long>(der.size())));
  const std::string issuer = derOf(X509_get_issuer_name(certificate.get()), i2d_X509_NAME);
  const std::string subject = derOf(X509_get_subject_name(certificate.get()), i2d_X509_NAME);
  const std::string serial = derOf(X509_get0_serialNumber(certificate.get()), i2d_ASN1_INTEGER);
  const auto error = [](const std::string& name, const std::string& number) {
    const std::string names = derElement(BERTag::sequence, derElement(BERTag::context4, name));
    return errorWithAttribute(kSigningCertificate,
                              attributeOver(hashOf(NID_sha1) + derElement(BERTag::sequence, names + number)));
  };

  EXPECT_EQ(error(issuer, serial), CodeSignatureErrorCode{});
  EXPECT_EQ(error(subject, serial), signatureFailed);
  EXPECT_EQ(error(issuer, derElement(BERTag::integer, "\1")), signatureFailed);
}

}  // namespace
}  // namespace quillon
