#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "CodeSignature/TrustAnchors.h"
#include "Support/SigningIdentityMaker.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

class TrustAnchorsTest : public ::testing::Test {
 protected:
  TrustAnchorsTest() {
    std::filesystem::create_directories(anchors_);
    chmod(anchors_.parent_path().c_str(), 0755);
    chmod(anchors_.c_str(), 0755);
    add("root.pem", testing::sharedSigningIdentity().root);
  }
  void add(const char* name, const std::string& content, mode_t mode = 0644) const {
    testing::writeFile(anchors_ / name, content);
    chmod((anchors_ / name).c_str(), mode);
  }

  testing::TemporaryDirectory folder_;
  std::filesystem::path anchors_ = folder_ / "quillon/anchors.d";
};

TEST_F(TrustAnchorsTest, PEMFilesAreRead) {
  add("ignored.txt", testing::makeSigningIdentity().root);

  const TrustAnchors anchors = TrustAnchors::load(anchors_);

  ASSERT_EQ(anchors.certificates.size(), 1U);
  EXPECT_EQ(anchors.certificates.front(), testing::sharedSigningIdentity().identity().certificateChain().back());
  EXPECT_TRUE(anchors.refusals.empty());
}

TEST_F(TrustAnchorsTest, MissingFolderHoldsNothing) {
  const TrustAnchors anchors = TrustAnchors::load(folder_ / "missing/anchors.d");

  EXPECT_TRUE(anchors.certificates.empty());
  EXPECT_TRUE(anchors.refusals.empty());
}

TEST_F(TrustAnchorsTest, WhatOthersCanWriteIsRefused) {
  add("open.pem", testing::makeSigningIdentity().root, 0666);
  EXPECT_EQ(TrustAnchors::load(anchors_).certificates.size(), 1U);
  EXPECT_EQ(TrustAnchors::load(anchors_).refusals.size(), 1U);

  for (const std::filesystem::path& open : {anchors_, anchors_.parent_path()}) {
    chmod(open.c_str(), 0775);
    EXPECT_TRUE(TrustAnchors::load(anchors_).certificates.empty());
    EXPECT_EQ(TrustAnchors::load(anchors_).refusals.size(), 1U);
    chmod(open.c_str(), 0755);
  }
}

TEST_F(TrustAnchorsTest, LinksAndSpecialFilesAreRefusedWithoutWaiting) {
  std::filesystem::create_symlink(anchors_ / "root.pem", anchors_ / "link.pem");
  ASSERT_EQ(mkfifo((anchors_ / "pipe.pem").c_str(), 0600), 0);

  EXPECT_EQ(TrustAnchors::load(anchors_).certificates.size(), 1U);
  EXPECT_EQ(TrustAnchors::load(anchors_).refusals.size(), 2U);
}

TEST_F(TrustAnchorsTest, FilesOfOtherUsersAreRefused) {
  if (geteuid() != 0) GTEST_SKIP() << "only the superuser can give files away";
  ASSERT_EQ(chown((anchors_ / "root.pem").c_str(), 12345, 12345), 0);

  EXPECT_TRUE(TrustAnchors::load(anchors_).certificates.empty());
}

TEST_F(TrustAnchorsTest, VendorRootsAreKnownByTheirFingerprints) {
  std::string fingerprint;
  for (const int byte :
       {0xB0, 0xB1, 0x73, 0x0E, 0xCB, 0xC7, 0xFF, 0x45, 0x05, 0x14, 0x2C, 0x49, 0xF1, 0x29, 0x5E, 0x6E,
        0xDA, 0x6B, 0xCA, 0xED, 0x7E, 0x2C, 0x68, 0xC5, 0xBE, 0x91, 0xB5, 0xA1, 0x10, 0x01, 0xF0, 0x24}) {
    fingerprint += static_cast<char>(byte);
  }
  EXPECT_TRUE(TrustAnchors::isAppleRoot(fingerprint));
  fingerprint.back() = 'x';
  EXPECT_FALSE(TrustAnchors::isAppleRoot(fingerprint));
}

}  // namespace
}  // namespace quillon
