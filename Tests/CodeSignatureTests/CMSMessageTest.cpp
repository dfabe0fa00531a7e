#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "CodeSignature/CMSMessage.h"
#include "CodeSignature/CMSSignature.h"
#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/DERElement.h"
#include "CodeSignature/OpenSSLHandles.h"
#include "Support/SigningIdentityMaker.h"
#include "Support/TimestampAuthority.h"

namespace quillon {
namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

constexpr std::string_view kData = "1.2.840.113549.1.7.1";
constexpr std::string_view kTimestampContent = "1.2.840.113549.1.9.16.1.4";
constexpr CMSMessageForm kDetached{.contentType = kData, .version = 1};
constexpr CMSMessageForm kToken{.contentType = kTimestampContent, .version = 3, .holdsContent = true};

CodeDirectory signedDirectory() {
  CodeDirectory directory;
  directory.hashType = CodeHashType::sha256;
  directory.identifier = "com.example";
  directory.codeLimit = 1;
  directory.pageHashes = std::string(32, 'x');
  return parseCodeDirectory(buildCodeDirectory(directory));
}

/// A message taken apart, so that one part can be changed and the lengths around it stay right.
struct MessageParts {
  explicit MessageParts(std::string_view message) {
    BERReader outer(message);
    BERReader contentInfo(outer.next().content);
    type = contentInfo.next().whole;
    BERReader wrapper(contentInfo.next().content);
    BERReader data(wrapper.next().content);
    version = data.next().whole;
    digests = data.next().content;
    content = data.next().content;
    certificates = data.next().content;
    BERReader signers(data.next().content);
    BERReader signer(signers.next().content);
    for (std::string& part : signerParts) part = signer.next().whole;
    if (!signer.isAtEnd()) unsignedAttributes = signer.next().whole;
  }

  [[nodiscard]] std::string signer() const {
    std::string parts;
    for (const std::string& part : signerParts) parts += part;
    return derElement(BERTag::sequence, parts + unsignedAttributes);
  }

  [[nodiscard]] std::string signedDataContent() const {
    return version + derElement(BERTag::set, digests) + derElement(BERTag::sequence, content) +
           derElement(BERTag::context0, certificates) + beforeSigners +
           derElement(BERTag::set, signer() + afterFirstSigner);
  }

  [[nodiscard]] std::string message() const {
    return derElement(BERTag::sequence,
                      type + derElement(BERTag::context0, derElement(BERTag::sequence, signedDataContent())));
  }

  std::string type;
  std::string version;
  std::string digests;
  std::string content;
  std::string certificates;
  std::string beforeSigners;
  /// Version, identifier, digest, signed attributes, algorithm, value.
  std::string signerParts[6];
  std::string unsignedAttributes;
  std::string afterFirstSigner;
};

class CMSMessageTest : public ::testing::Test {
 protected:
  [[nodiscard]] bool isAccepted(std::string_view message) const {
    try {
      (void)verifyCMSMessage(message, kDetached, directory_.blob);
      return true;
    } catch (const CodeSignatureError& error) {
      EXPECT_EQ(error.code(), CodeSignatureErrorCode::signatureFailed);
      return false;
    }
  }

  const CodeDirectory directory_ = signedDirectory();
  const SigningIdentity identity_ = testing::sharedSigningIdentity().identity();
  const std::string message_ = makeCMSSignature({directory_}, identity_);
};

TEST_F(CMSMessageTest, PartsAreThoseOfTheMessage) {
  const CMSMessage message = verifyCMSMessage(message_, kDetached, directory_.blob);

  EXPECT_EQ(message.content, directory_.blob);
  EXPECT_EQ(message.signer, identity_.certificateChain().front());
  EXPECT_EQ(message.certificates.size(), 2U);
  EXPECT_EQ(message.signedAttributes.count(), 4U);
  EXPECT_EQ(message.signedAttributes.requireSingle("1.2.840.113549.1.9.3").content,
            "\x2A\x86\x48\x86\xF7\x0D\x01\x07\x01");
  EXPECT_EQ(message.unsignedAttributes.count(), 0U);
  EXPECT_EQ(message.signatureValue, testing::signatureValueOf(message_));
}

TEST_F(CMSMessageTest, ContentWhoseHashIsKnownIsNotHashedAgain) {
  const CMSDetachedContent known(std::string_view("not looked at"), CodeHashType::sha256, directory_.fullHash());
  const CMSDetachedContent wrong(directory_.blob, CodeHashType::sha256, codeHash(CodeHashType::sha256, "else"));
  const CMSDetachedContent other(directory_.blob, CodeHashType::sha1, codeHash(CodeHashType::sha1, "unused"));

  EXPECT_NO_THROW((void)verifyCMSMessage(message_, kDetached, known));
  EXPECT_THROW((void)verifyCMSMessage(message_, kDetached, wrong), CodeSignatureError);
  EXPECT_NO_THROW((void)verifyCMSMessage(message_, kDetached, other));
}

TEST_F(CMSMessageTest, ContentInTheMessageIsTheContent) {
  const std::string token = testing::TimestampAuthority::shared().token("value");

  const CMSMessage message = verifyCMSMessage(token, kToken, std::string_view("something else"));

  EXPECT_EQ(BERReader(message.content).next(BERTag::sequence).whole, message.content);
}

TEST_F(CMSMessageTest, OnlyTheExpectedFormIsRead) {
  const std::string token = testing::TimestampAuthority::shared().token("value");
  for (const CMSMessageForm& form :
       {CMSMessageForm{kData, 3, true}, CMSMessageForm{kTimestampContent, 1, true},
        CMSMessageForm{kTimestampContent, 3, false}, CMSMessageForm{kTimestampContent, 3, false}}) {
    EXPECT_THROW((void)verifyCMSMessage(token, form), CodeSignatureError) << form.contentType;
  }
  EXPECT_THROW((void)verifyCMSMessage(message_, kToken, directory_.blob), CodeSignatureError);
}

TEST_F(CMSMessageTest, MessageOfTheGeneralWriterIsTheSameButForItsTime) {
  // Same parts in the same encoding: what is written here is read everywhere.
  const BIOHandle input = bioOver(message_);
  const CMSHandle cms(d2i_CMS_bio(input.get(), nullptr));
  ASSERT_TRUE(cms);

  EXPECT_EQ(derOf(cms.get(), i2d_CMS_ContentInfo), message_);
  EXPECT_EQ(MessageParts(message_).message(), message_);
}

/// The outer values of a message with indefinite lengths, as the platform's encoder writes them.
std::string withIndefiniteLengths(const MessageParts& parts) {
  const auto indefinite = [](BERTag tag, const std::string& content) {
    return std::string(1, static_cast<char>(tag)) + "\x80" + content + "\0\0"s;
  };
  const std::string definite = derElement(BERTag::sequence, parts.content);
  std::string data = parts.signedDataContent();
  data.replace(data.find(definite), definite.size(), indefinite(BERTag::sequence, parts.content));
  return indefinite(BERTag::sequence, parts.type + indefinite(BERTag::context0, indefinite(BERTag::sequence, data)));
}

TEST_F(CMSMessageTest, IndefiniteLengthsAreReadInMessagesAndTokens) {
  const std::string token = testing::TimestampAuthority::shared().token("value");

  EXPECT_TRUE(isAccepted(withIndefiniteLengths(MessageParts(message_))));
  EXPECT_NO_THROW((void)verifyCMSMessage(withIndefiniteLengths(MessageParts(token)), kToken));
}

TEST_F(CMSMessageTest, IndefiniteLengthOfSignedAttributesIsRefused) {
  MessageParts parts(message_);
  const std::string content(BERReader(parts.signerParts[3]).next().content);
  parts.signerParts[3] = "\xA0\x80" + content + "\0\0"s;

  EXPECT_FALSE(isAccepted(parts.message()));
}

struct Change {
  const char* name;
  std::function<void(MessageParts&)> apply;
  friend void PrintTo(const Change& change, std::ostream* out) { *out << change.name; }
};

std::string changeName(const ::testing::TestParamInfo<Change>& info) {
  return info.param.name;
}

class CMSMessageChangeTest : public CMSMessageTest, public ::testing::WithParamInterface<Change> {};

TEST_P(CMSMessageChangeTest, IsRefused) {
  MessageParts parts(message_);
  GetParam().apply(parts);

  EXPECT_FALSE(isAccepted(parts.message()));
}

std::string integer(char value) {
  return derElement(BERTag::integer, {&value, 1});
}

std::string attribute(std::string_view type, const std::string& value) {
  return derElement(BERTag::sequence, derObjectIdentifier(type) + derElement(BERTag::set, value));
}

const std::string& sha256Algorithm() {
  static const std::string kAlgorithm =
      derElement(BERTag::sequence, derObjectIdentifier("2.16.840.1.101.3.4.2.1") + derElement(BERTag::null, ""));
  return kAlgorithm;
}

INSTANTIATE_TEST_SUITE_P(
    Changes, CMSMessageChangeTest,
    ::testing::Values(
        Change{"OtherType", [](auto& parts) { parts.type = derObjectIdentifier("1.2.840.113549.1.7.3"); }},
        Change{"OtherVersion", [](auto& parts) { parts.version = integer(3); }},
        Change{"LongVersion", [](auto& parts) { parts.version = "\x02\x02\0\x01"s; }},
        Change{"NoDigest", [](auto& parts) { parts.digests.clear(); }},
        Change{"DigestTwice", [](auto& parts) { parts.digests += parts.digests; }},
        Change{"OtherDigest",
               [](auto& parts) { parts.digests = derElement(BERTag::sequence, derObjectIdentifier("1.3.14.3.2.26")); }},
        Change{"DigestWithParameters",
               [](auto& parts) {
                 parts.digests = derElement(BERTag::sequence, derObjectIdentifier("2.16.840.1.101.3.4.2.1") +
                                                                  derElement(BERTag::octetString, "x"));
               }},
        Change{"OtherContentType", [](auto& parts) { parts.content = derObjectIdentifier(kTimestampContent); }},
        Change{"EmptyContentInTheMessage",
               [](auto& parts) { parts.content += derElement(BERTag::context0, derElement(BERTag::octetString, "")); }},
        Change{"NoCertificate", [](auto& parts) { parts.certificates.clear(); }},
        Change{"CertificatesTwice", [](auto& parts) { parts.certificates += parts.certificates; }},
        Change{"MalformedCertificate",
               [](auto& parts) { parts.certificates.insert(0, derElement(BERTag::sequence, "")); }},
        Change{"ManyCertificates",
               [](auto& parts) {
                 for (char i = 0; i < 100; ++i) parts.certificates += derElement(BERTag::sequence, integer(i));
               }},
        Change{"RevocationList", [](auto& parts) { parts.beforeSigners = derElement(BERTag::context1, ""); }},
        Change{"TwoSigners", [](auto& parts) { parts.afterFirstSigner = parts.signer(); }},
        Change{"OtherSignerVersion", [](auto& parts) { parts.signerParts[0] = integer(3); }},
        Change{"OtherSigner",
               [](auto& parts) {
                 BERReader reader(BERReader(parts.signerParts[1]).next().content);
                 const std::string issuer(reader.next().whole);
                 parts.signerParts[1] = derElement(BERTag::sequence, issuer + integer(5));
               }},
        Change{"SignerDigestUnlikeTheOther",
               [](auto& parts) {
                 parts.signerParts[2] = derElement(BERTag::sequence, derObjectIdentifier("2.16.840.1.101.3.4.2.2"));
               }},
        Change{"NoSignedAttributes", [](auto& parts) { parts.signerParts[3] = derElement(BERTag::context0, ""); }},
        Change{"OtherSignatureAlgorithm",
               [](auto& parts) {
                 parts.signerParts[4] = derElement(BERTag::sequence, derObjectIdentifier("1.2.840.10045.4.3.3"));
               }},
        Change{"SignatureAlgorithmOfAnotherKey",
               [](auto& parts) {
                 parts.signerParts[4] = derElement(BERTag::sequence, derObjectIdentifier("1.2.840.113549.1.1.11"));
               }},
        Change{"DigestAsSignatureAlgorithm", [](auto& parts) { parts.signerParts[4] = sha256Algorithm(); }},
        Change{"EmptySignature", [](auto& parts) { parts.signerParts[5] = derElement(BERTag::octetString, ""); }},
        Change{"EmptyUnsignedAttributes",
               [](auto& parts) { parts.unsignedAttributes = derElement(BERTag::context1, ""); }},
        Change{"UnsignedAttributeWithoutValue",
               [](auto& parts) { parts.unsignedAttributes = derElement(BERTag::context1, attribute("1.2.3", "")); }},
        Change{"UnsignedAttributeTwice",
               [](auto& parts) {
                 const std::string one = attribute("1.2.3", integer(1));
                 parts.unsignedAttributes = derElement(BERTag::context1, one + one);
               }},
        Change{"SomethingBehindTheUnsignedAttributes",
               [](auto& parts) {
                 parts.unsignedAttributes =
                     derElement(BERTag::context1, attribute("1.2.3", integer(1))) + derElement(BERTag::null, "");
               }}),
    changeName);

TEST_F(CMSMessageTest, RSAAlgorithmMayBeNamedWithoutItsDigestButWithNoOther) {
  MessageParts parts(makeCMSSignature({directory_}, testing::sharedRSASigningIdentity().identity()));
  const auto isAcceptedWith = [this, &parts](std::string_view algorithm) {
    parts.signerParts[4] = derElement(BERTag::sequence, derObjectIdentifier(algorithm) + derElement(BERTag::null, ""));
    return isAccepted(parts.message());
  };

  EXPECT_TRUE(isAcceptedWith("1.2.840.113549.1.1.11"));
  EXPECT_TRUE(isAcceptedWith("1.2.840.113549.1.1.1"));
  for (const char* algorithm :
       {"1.2.840.113549.1.1.5", "1.2.840.113549.1.1.10", "1.2.840.113549.1.1.12", "1.2.3", "1.2.840.10045.4.3.2"}) {
    EXPECT_FALSE(isAcceptedWith(algorithm)) << algorithm;
  }
}

TEST_F(CMSMessageTest, SingleValuesAreSingle) {
  const std::string content = attribute("1.2.3", integer(1) + integer(2)) + attribute("1.2.4", integer(3));

  const CMSAttributes attributes = CMSAttributes::parse(content);

  EXPECT_EQ(attributes.find("1.2.3")->size(), 2U);
  EXPECT_THROW((void)attributes.findSingle("1.2.3"), CodeSignatureError);
  EXPECT_EQ(attributes.findSingle("1.2.4")->content, "\3");
  EXPECT_EQ(attributes.findSingle("1.2.5"), nullptr);
  EXPECT_THROW((void)attributes.requireSingle("1.2.5"), CodeSignatureError);
}

TEST_F(CMSMessageTest, TimesOfBothKindsAreRead) {
  const auto timeOf = [](BERTag tag, std::string_view text) {
    const std::string element = derElement(tag, text);
    return cmsTimeFrom(BERReader(element).next()).time_since_epoch().count();
  };

  EXPECT_EQ(timeOf(BERTag::utcTime, "231114221320Z"), 1700000000);
  EXPECT_EQ(timeOf(BERTag::generalizedTime, "20231114221320Z"), 1700000000);
  EXPECT_THROW((void)timeOf(BERTag::utcTime, "231314221320Z"), CodeSignatureError);
  EXPECT_THROW((void)timeOf(BERTag::octetString, "231114221320Z"), CodeSignatureError);
}

}  // namespace
}  // namespace quillon
