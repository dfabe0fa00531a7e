#include <gtest/gtest.h>

#include "CodeSignature/CertificateChain.h"
#include "CodeSignature/CodeSignatureError.h"
#include "Support/SigningIdentityMaker.h"
#include "Support/TimestampAuthority.h"

namespace quillon {
namespace {

using testing::makeSigningIdentity;
using enum CodeSignatureErrorCode;

CodeSignatureErrorCode errorOf(const std::string& leaf, const std::vector<std::string>& pool,
                               std::optional<std::chrono::sys_seconds> time = std::nullopt) {
  try {
    (void)buildCertificateChain(leaf, pool, {}, time);
  } catch (const CodeSignatureError& error) {
    return error.code();
  }
  return {};
}

TEST(CertificateChainTest, ChainRunsFromLeafToRootWhateverTheOrder) {
  const auto ders = testing::sharedSigningIdentity().identity().certificateChain();

  const CertificateChain chain = buildCertificateChain(ders[0], {ders[1], ders[0]}, {}, std::nullopt);

  ASSERT_EQ(chain.certificates.size(), 2U);
  EXPECT_EQ(chain.leaf().subjectValue("OU"), "TEAM123456");
  EXPECT_EQ(chain.root().subjectValue("CN"), "Example Organization Root");
  EXPECT_FALSE(chain.hasKnownAnchor);
  EXPECT_FALSE(chain.isAnchoredByApple);
  EXPECT_EQ(chain.certificateAt(-1), &chain.root());
  EXPECT_EQ(chain.certificateAt(2), nullptr);
}

TEST(CertificateChainTest, InstalledRootIsAKnownAnchorAlsoWhenItIsNotEmbedded) {
  const auto ders = testing::sharedSigningIdentity().identity().certificateChain();
  const TrustAnchors anchors{.certificates = {ders[1]}, .refusals = {}};

  EXPECT_TRUE(buildCertificateChain(ders[0], ders, anchors, std::nullopt).hasKnownAnchor);
  EXPECT_TRUE(buildCertificateChain(ders[0], {ders[0]}, anchors, std::nullopt).hasKnownAnchor);
}

TEST(CertificateChainTest, IncompleteForeignAndSuperfluousCertificatesAreRefused) {
  const auto ders = testing::sharedSigningIdentity().identity().certificateChain();
  const auto others = makeSigningIdentity().identity().certificateChain();

  EXPECT_EQ(errorOf(ders[0], {ders[0]}), notTrusted);
  // The other root has the same name, but did not issue the leaf.
  EXPECT_EQ(errorOf(ders[0], {ders[0], others[1]}), notTrusted);
  EXPECT_EQ(errorOf(ders[0], {ders[0], ders[1], others[0]}), signatureFailed);
  EXPECT_EQ(errorOf("x", {}), signatureFailed);
}

TEST(CertificateChainTest, LeafMustBeMadeForThePurpose) {
  const auto signer = testing::sharedSigningIdentity().identity().certificateChain();
  const testing::TimestampAuthority& authority = testing::TimestampAuthority::shared();
  const std::vector<std::string> clock = {authority.certificate(), authority.root()};

  EXPECT_EQ(errorOf(clock[0], clock), notTrusted);
  EXPECT_NO_THROW((void)buildCertificateChain(clock[0], clock, {}, std::nullopt, CertificatePurpose::timeStamping));
  EXPECT_THROW((void)buildCertificateChain(signer[0], signer, {}, std::nullopt, CertificatePurpose::timeStamping),
               CodeSignatureError);
}

TEST(CertificateChainTest, TimeCountsOnlyWhenItIsKnown) {
  const auto ders = makeSigningIdentity({.isExpired = true}).identity().certificateChain();
  const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());

  EXPECT_EQ(buildCertificateChain(ders[0], ders, {}, std::nullopt).certificates.size(), 2U);
  EXPECT_EQ(buildCertificateChain(ders[0], ders, {}, now - std::chrono::hours(1)).certificates.size(), 2U);
  EXPECT_EQ(errorOf(ders[0], ders, now), certificateExpired);
}

}  // namespace
}  // namespace quillon
