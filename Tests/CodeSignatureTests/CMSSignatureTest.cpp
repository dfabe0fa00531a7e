#include <gtest/gtest.h>

#include "CodeSignature/CMSSignature.h"
#include "CodeSignature/CodeSignatureError.h"
#include "QuillonCore/Values/QuillonError.h"
#include "Support/CertificateMaker.h"
#include "Support/SigningIdentityMaker.h"

namespace quillon {
namespace {

CodeDirectory directoryOf(CodeHashType type) {
  CodeDirectory directory;
  directory.hashType = type;
  directory.identifier = "com.example";
  directory.codeLimit = 1;
  directory.pageHashes = std::string(codeHashSize(type), 'x');
  return parseCodeDirectory(buildCodeDirectory(directory));
}

TEST(CMSSignatureTest, MessageNamesSignerTimeAndAllDirectories) {
  const SigningIdentity identity = testing::sharedSigningIdentity().identity();
  const std::vector<CodeDirectory> directories = {directoryOf(CodeHashType::sha1), directoryOf(CodeHashType::sha256)};
  const std::chrono::sys_seconds time{std::chrono::seconds(1700000000)};

  const std::string message = makeCMSSignature(directories, identity, time);
  const CMSSignature signature = verifyCMSSignature(message, directories.front().blob);

  EXPECT_EQ(signature.signer, identity.certificateChain().front());
  EXPECT_EQ(signature.certificates.size(), 2U);
  EXPECT_EQ(signature.listedHashes, (std::vector{directories[0].identifyingHash(), directories[1].identifyingHash()}));
  ASSERT_EQ(signature.typedHashes->size(), 2U);
  EXPECT_FALSE(signature.timestampToken.has_value());
  EXPECT_EQ(signature.signingTime, time);
}

TEST(CMSSignatureTest, EqualArgumentsMakeEqualMessagesWithAnRSAKey) {
  const SigningIdentity identity = testing::sharedRSASigningIdentity().identity();
  const std::vector<CodeDirectory> directories = {directoryOf(CodeHashType::sha1), directoryOf(CodeHashType::sha256)};

  const std::string message = makeCMSSignature(directories, identity);

  EXPECT_EQ(makeCMSSignature(directories, identity), message);
  EXPECT_FALSE(verifyCMSSignature(message, directories.front().blob).signingTime.has_value());
  const std::chrono::sys_seconds time{std::chrono::seconds(1)};
  EXPECT_EQ(makeCMSSignature(directories, identity, time), makeCMSSignature(directories, identity, time));
  EXPECT_NE(makeCMSSignature(directories, identity, time), message);
}

TEST(CMSSignatureTest, TimesAfter2049AreWrittenToo) {
  const std::vector<CodeDirectory> directories = {directoryOf(CodeHashType::sha256)};
  const std::chrono::sys_seconds time{std::chrono::seconds(2600000000)};  // in 2052

  const std::string message = makeCMSSignature(directories, testing::sharedSigningIdentity().identity(), time);

  EXPECT_EQ(verifyCMSSignature(message, directories.front().blob).signingTime, time);
}

TEST(CMSSignatureTest, AllHashAlgorithmsAreNamed) {
  std::vector<CodeDirectory> directories;
  for (const CodeHashType type : {CodeHashType::sha256Truncated, CodeHashType::sha384, CodeHashType::sha1}) {
    directories.push_back(directoryOf(type));
  }

  const std::string message = makeCMSSignature(directories, testing::sharedSigningIdentity().identity());
  const CMSSignature signature = verifyCMSSignature(message, directories.front().blob);

  EXPECT_EQ(signature.listedHashes, (std::vector{directories[2].identifyingHash(), directories[0].identifyingHash(),
                                                 directories[1].identifyingHash()}));
  ASSERT_EQ(signature.typedHashes->size(), 3U);
}

TEST(CMSSignatureTest, KeysOfOtherKindsAreRefused) {
  const testing::MadeKey rootKey = testing::makeKey();
  const testing::MadeKey key(EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519"));
  const testing::MadeCertificate root = testing::makeRootCertificate(rootKey, "Example");
  const testing::MadeCertificate leaf = testing::makeLeafCertificate(
      key, root, rootKey,
      {.commonName = "Developer", .organization = {}, .organizationalUnit = {}, .extendedKeyUsage = "codeSigning"});
  const SigningIdentity identity =
      SigningIdentity::fromPEM(testing::pemOf(key), testing::pemOf(leaf) + testing::pemOf(root));

  EXPECT_THROW((void)makeCMSSignature({directoryOf(CodeHashType::sha256)}, identity), QuillonError);
}

TEST(CMSSignatureTest, OtherContentIsRefused) {
  const std::vector<CodeDirectory> directories = {directoryOf(CodeHashType::sha256)};
  const std::string message = makeCMSSignature(directories, testing::sharedSigningIdentity().identity());

  EXPECT_THROW((void)verifyCMSSignature(message, directories.front().blob + "x"), CodeSignatureError);
}

TEST(CMSSignatureTest, CutAndExtendedMessagesAreRefused) {
  const std::vector<CodeDirectory> directories = {directoryOf(CodeHashType::sha256)};
  const std::string message = makeCMSSignature(directories, testing::sharedSigningIdentity().identity());

  for (std::size_t length = 0; length < message.size(); ++length) {
    EXPECT_THROW((void)verifyCMSSignature(message.substr(0, length), directories.front().blob), CodeSignatureError);
  }
  EXPECT_THROW((void)verifyCMSSignature(message + '\0', directories.front().blob), CodeSignatureError);
}

}  // namespace
}  // namespace quillon
