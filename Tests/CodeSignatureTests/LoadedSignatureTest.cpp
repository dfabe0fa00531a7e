#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "CodeSignature/CMSSignature.h"
#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/LoadedSignature.h"
#include "Support/CodeInMemory.h"
#include "Support/SignedBundleBuilder.h"
#include "Support/SigningIdentityMaker.h"
#include "Support/TemporaryDirectory.h"
#include "Support/TimestampAuthority.h"

namespace quillon {
namespace {

using testing::CodeInMemory;
using testing::SignedBundleBuilder;
using testing::TemporaryDirectory;
using testing::TimestampAuthority;
using testing::TimestampRequest;
using enum CodeSignatureErrorCode;

std::chrono::sys_seconds now() {
  return std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
}

class LoadedSignatureTest : public ::testing::Test {
 protected:
  /// A bundle signed by a certificate that ended a minute ago, or has not ended.
  [[nodiscard]] CodeInMemory signedCode(bool isExpired = false) const {
    SignedBundleBuilder bundle(folder_ / "Example.app");
    identity_ = testing::makeSigningIdentity({.isExpired = isExpired}).identity();
    bundle.withScript().sign({.identity = identity_, .replacesSignature = true});
    return CodeInMemory(bundle);
  }

  static void addTimestamp(CodeInMemory& code, const TimestampRequest& request = {}) {
    std::string& message = code.parts.at(CodeSlot::signature);
    message = testing::timestampedMessage(message, TimestampAuthority::shared(), request);
  }

  /// Signs the code again with a flag by which it wants to expire.
  void letExpire(CodeInMemory& code) const {
    CodeDirectory directory = parseCodeDirectory(code.parts.at(CodeSlot::codeDirectory));
    directory.flags |= kCodeDirectoryExpiresFlag;
    directory = parseCodeDirectory(buildCodeDirectory(directory));
    code.parts.at(CodeSlot::codeDirectory) = directory.blob;
    code.parts.at(CodeSlot::signature) = makeCMSSignature({directory}, *identity_);
  }

  [[nodiscard]] static LoadedSignature load(const CodeInMemory& code, const TrustAnchors& anchors = {}) {
    LoadedSignature signature = loadCodeDirectories(code);
    loadCMS(code, anchors, signature);
    return signature;
  }

  [[nodiscard]] static CodeSignatureErrorCode errorOf(const CodeInMemory& code) {
    try {
      (void)load(code);
    } catch (const CodeSignatureError& error) {
      return error.code();
    }
    return {};
  }

 private:
  TemporaryDirectory folder_;
  mutable std::optional<SigningIdentity> identity_;
};

TEST_F(LoadedSignatureTest, TimeStampIsVerifiedAndKept) {
  CodeInMemory code = signedCode();
  EXPECT_FALSE(load(code).timestamp.has_value());
  const std::chrono::sys_seconds time = now() - std::chrono::hours(5);
  addTimestamp(code, {.time = time});

  const LoadedSignature signature = load(code, {.certificates = {TimestampAuthority::shared().root()}, .refusals = {}});

  ASSERT_TRUE(signature.timestamp.has_value());
  EXPECT_EQ(signature.timestamp->time, time);
  EXPECT_TRUE(signature.timestamp->chain.hasKnownAnchor);
  EXPECT_FALSE(signature.chain->hasKnownAnchor);
}

TEST_F(LoadedSignatureTest, TimeStampOverAnotherSignatureIsRefused) {
  CodeInMemory code = signedCode();
  const std::string other =
      testing::timestampedMessage(code.parts.at(CodeSlot::signature), TimestampAuthority::shared());
  const CMSSignature stamped = verifyCMSSignature(other, code.parts.at(CodeSlot::codeDirectory));

  CodeInMemory again = signedCode();
  std::string& message = again.parts.at(CodeSlot::signature);
  message = testing::messageWithUnsignedAttribute(message, "1.2.840.113549.1.9.16.2.14", *stamped.timestampToken);

  EXPECT_EQ(errorOf(again), signatureFailed);
}

TEST_F(LoadedSignatureTest, BadTimeStampsAreRefused) {
  CodeInMemory code = signedCode();
  const std::string plain = code.parts.at(CodeSlot::signature);
  addTimestamp(code, {.hasWrongImprint = true});
  EXPECT_EQ(errorOf(code), signatureFailed);
  code.parts.at(CodeSlot::signature) = plain;
  addTimestamp(code, {.includesRoot = false});
  EXPECT_EQ(errorOf(code), notTrusted);
  code.parts.at(CodeSlot::signature) = plain;
  addTimestamp(code);
  addTimestamp(code);
  EXPECT_EQ(errorOf(code), signatureFailed);
}

TEST_F(LoadedSignatureTest, OtherUnsignedAttributesAreRefused) {
  CodeInMemory code = signedCode();
  std::string& message = code.parts.at(CodeSlot::signature);
  message = testing::messageWithUnsignedAttribute(message, "1.2.3", std::string("\x30\0", 2));

  EXPECT_EQ(errorOf(code), signatureFailed);

  addTimestamp(code);
  EXPECT_EQ(errorOf(code), signatureFailed);
}

TEST_F(LoadedSignatureTest, CertificateMustHaveBeenValidAtTheTimeOfTheStamp) {
  CodeInMemory code = signedCode(true);
  const std::string plain = code.parts.at(CodeSlot::signature);
  EXPECT_EQ(errorOf(code), CodeSignatureErrorCode{});

  addTimestamp(code, {.time = now() - std::chrono::hours(1)});
  EXPECT_EQ(errorOf(code), CodeSignatureErrorCode{});
  code.parts.at(CodeSlot::signature) = plain;
  addTimestamp(code, {.time = now()});
  EXPECT_EQ(errorOf(code), certificateExpired);
  code.parts.at(CodeSlot::signature) = plain;
  addTimestamp(code, {.time = now() - std::chrono::hours(47)});
  EXPECT_EQ(errorOf(code), CodeSignatureErrorCode{});
}

TEST_F(LoadedSignatureTest, CodeThatWantsToExpireIsNotSavedByATimeStamp) {
  CodeInMemory valid = signedCode(false);
  letExpire(valid);
  EXPECT_EQ(errorOf(valid), CodeSignatureErrorCode{});
  addTimestamp(valid);
  EXPECT_EQ(errorOf(valid), CodeSignatureErrorCode{});

  CodeInMemory expired = signedCode(true);
  letExpire(expired);
  EXPECT_EQ(errorOf(expired), certificateExpired);
  addTimestamp(expired);
  EXPECT_EQ(errorOf(expired), certificateExpired);
}

TEST_F(LoadedSignatureTest, RSASignaturesAreLoadedAndStamped) {
  const TemporaryDirectory folder;
  SignedBundleBuilder bundle(folder / "Example.app");
  bundle.withScript().sign({.identity = testing::sharedRSASigningIdentity().identity(), .replacesSignature = true});
  CodeInMemory code(bundle);
  addTimestamp(code);

  EXPECT_EQ(errorOf(code), CodeSignatureErrorCode{});
}

TEST_F(LoadedSignatureTest, ArchitecturesOfABundleHoldItsPartsOnce) {
  const CodeInMemory code = signedCode();
  LoadedSignature first = loadCodeDirectories(code);
  LoadedSignature second = loadCodeDirectories(code);
  checkSpecialSlots(code, first);
  checkSpecialSlots(code, second);
  ASSERT_NE(first.sealBytes, second.sealBytes);

  second.shareParts(first);
  EXPECT_EQ(second.sealBytes, first.sealBytes);
  EXPECT_EQ(second.information, first.information);

  LoadedSignature other = first;
  other.sealBytes = std::make_shared<const std::string>("another seal");
  other.information = nullptr;
  other.shareParts(first);
  EXPECT_EQ(*other.sealBytes, "another seal");
  EXPECT_EQ(other.information, nullptr);
}

}  // namespace
}  // namespace quillon
