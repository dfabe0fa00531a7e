#include <gtest/gtest.h>

#include "CodeSignature/SigningIdentity.h"
#include "QuillonCore/Values/QuillonError.h"
#include "Support/SigningIdentityMaker.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using testing::MadeSigningIdentity;
using testing::makeSigningIdentity;

TEST(SigningIdentityTest, FilesAreReadInAnyOrder) {
  const testing::TemporaryDirectory folder;
  const MadeSigningIdentity made = makeSigningIdentity({.includesRoot = false});
  testing::writeFile(folder / "key", made.key);
  testing::writeFile(folder / "certificates", made.root + made.certificates);

  const SigningIdentity identity = SigningIdentity::load(QuillonURL::fileURL((folder / "key").string()),
                                                         QuillonURL::fileURL((folder / "certificates").string()));

  EXPECT_EQ(identity.team(), "TEAM123456");
  EXPECT_EQ(identity.certificateChain().size(), 2U);
}

TEST(SigningIdentityTest, CertificateWithoutOrganizationalUnitHasNoTeam) {
  EXPECT_EQ(makeSigningIdentity({.organizationalUnit = ""}).identity().team(), "");
}

TEST(SigningIdentityTest, WhatCouldNotBeVerifiedIsRefused) {
  const MadeSigningIdentity made = makeSigningIdentity();
  EXPECT_THROW((void)SigningIdentity::fromPEM("", made.certificates), QuillonError);
  EXPECT_THROW((void)SigningIdentity::fromPEM(made.key, ""), QuillonError);
  EXPECT_THROW((void)SigningIdentity::fromPEM(makeSigningIdentity().key, made.certificates), QuillonError);
  EXPECT_THROW((void)makeSigningIdentity({.isForCodeSigning = false}).identity(), QuillonError);
  EXPECT_THROW((void)makeSigningIdentity({.includesRoot = false}).identity(), QuillonError);
  EXPECT_THROW((void)SigningIdentity::load(QuillonURL::fileURL("/nonexistent"), QuillonURL::fileURL("/nonexistent")),
               QuillonSystemError);
}

}  // namespace
}  // namespace quillon
