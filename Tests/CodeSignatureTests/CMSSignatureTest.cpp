#include <gtest/gtest.h>

#include "CodeSignature/CMSSignature.h"
#include "CodeSignature/CodeSignatureError.h"
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
