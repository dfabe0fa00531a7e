#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "CodeSignature/CodeSignatureVerdict.h"
#include "CodeSignature/SignatureDescription.h"
#include "CodeSignature/TrustAnchors.h"
#include "QuillonTool/QuillonToolBundleSign.h"
#include "QuillonToolTests/ToolRun.h"
#include "Support/SignedBundleBuilder.h"
#include "Support/SigningIdentityMaker.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using ::testing::HasSubstr;
using testing::ToolResult;

class QuillonToolBundleSignTest : public ::testing::Test {
 protected:
  QuillonToolBundleSignTest() { bundle_.withScript(); }

  ToolResult sign(const std::vector<std::string>& options) const {
    std::vector<std::string> words = {"bundle", "sign", bundle_.path().string()};
    words.insert(words.end(), options.begin(), options.end());
    return testing::ToolRun()(words);
  }

  /// Writes the files of an identity; the options that name them.
  [[nodiscard]] std::vector<std::string> optionsFor(const testing::MadeSigningIdentity& identity) const {
    testing::writeFile(folder_ / "key.pem", identity.key);
    testing::writeFile(folder_ / "certificate.pem", identity.certificates);
    return {"--key", (folder_ / "key.pem").string(), "--certificate", (folder_ / "certificate.pem").string()};
  }

  [[nodiscard]] bool isValid() const { return verifyCode(bundle_.url(), {.isStrict = true, .isDeep = true}).isValid(); }
  [[nodiscard]] std::string description() const { return describeSignature(bundle_.url(), TrustAnchors{}); }

  const testing::TemporaryDirectory folder_;
  testing::SignedBundleBuilder bundle_{folder_ / "Example.app"};
};

TEST_F(QuillonToolBundleSignTest, SealsABundleWithoutAKey) {
  EXPECT_EQ(sign({"--ad-hoc"}), (ToolResult{.status = 0, .output = "signed ad hoc\n"}));
  EXPECT_TRUE(isValid());
}

TEST_F(QuillonToolBundleSignTest, SignsWithAKeyAndNamesTheTeam) {
  const std::vector<std::string> options = optionsFor(testing::sharedSigningIdentity());

  EXPECT_EQ(sign(options), (ToolResult{.status = 0, .output = "signed by team TEAM123456\n"}));
  EXPECT_TRUE(isValid());
  EXPECT_THAT(description(), HasSubstr("Authority=Developer: Example (TEAM123456)\n"));
}

TEST_F(QuillonToolBundleSignTest, SaysThatACertificateNamesNoTeam) {
  const std::vector<std::string> options = optionsFor(testing::makeSigningIdentity({.organizationalUnit = ""}));

  EXPECT_EQ(sign(options).output, "signed without team\n");
}

TEST_F(QuillonToolBundleSignTest, TakesTheIdentifierGiven) {
  ASSERT_EQ(sign({"--ad-hoc", "--identifier", "org.example.Other"}).status, 0);

  EXPECT_THAT(description(), HasSubstr("Identifier=org.example.Other\n"));
}

TEST_F(QuillonToolBundleSignTest, ReplacesASignatureOnlyWhenForced) {
  bundle_.signAdHoc();

  EXPECT_EQ(sign({"--ad-hoc"}), (ToolResult{.status = 1,
                                            .output = {},
                                            .error = "quillon bundle sign: Cannot sign " + bundle_.path().string() +
                                                     ": is already signed (--force replaces a signature)\n"}));
  EXPECT_EQ(sign({"--ad-hoc", "--force", "--identifier", "again"}).status, 0);
  EXPECT_THAT(description(), HasSubstr("Identifier=again\n"));
}

TEST_F(QuillonToolBundleSignTest, AdvisesForceOnlyForASignature) {
  bundle_.withFile("Resources/\xFF", "");

  const ToolResult result = sign({"--ad-hoc"});

  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.error, HasSubstr(": A file name cannot be sealed: "));
  EXPECT_THAT(result.error, ::testing::Not(HasSubstr("--force")));
}

TEST_F(QuillonToolBundleSignTest, SaysWhereABundleCannotBeSealed) {
  bundle_.withLink("Resources/out", "/etc/passwd");

  const ToolResult result = sign({"--ad-hoc"});

  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.error, HasSubstr("quillon bundle sign: Cannot sign " + bundle_.path().string() + ": "));
  EXPECT_THAT(result.error, HasSubstr("\nIn item: " + (bundle_ / "Resources/out").string() + "\n"));
}

TEST_F(QuillonToolBundleSignTest, AKeyThatCannotBeReadIsAFailure) {
  const std::string missing = (folder_ / "none.pem").string();

  const ToolResult result = sign({"--key", missing, "--certificate", missing});

  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.error, HasSubstr(missing + ": No such file or directory"));
}

TEST_F(QuillonToolBundleSignTest, AMistypedPathIsAFailure) {
  const ToolResult result = testing::ToolRun()({"bundle", "sign", (folder_ / "None.app").string(), "--ad-hoc"});

  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.error, HasSubstr("There is no bundle at " + (folder_ / "None.app").string()));
}

TEST_F(QuillonToolBundleSignTest, WantsAKeyWithItsCertificateOrAdHoc) {
  EXPECT_EQ(sign({}).status, 2);
  EXPECT_EQ(sign({"--key", "k"}).status, 2);
  EXPECT_EQ(sign({"--certificate", "c"}).status, 2);
  EXPECT_EQ(sign({"--key", "k", "--certificate", "c", "--ad-hoc"}).status, 2);
  EXPECT_EQ(sign({"--ad-hoc", "--identifier", ""}).status, 2);
  EXPECT_FALSE(isValid());
}

}  // namespace
}  // namespace quillon
