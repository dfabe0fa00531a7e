#include <gtest/gtest.h>

#include "CodeSignature/DesignatedRequirement.h"
#include "CodeSignature/ObjectIdentifier.h"
#include "CodeSignature/RequirementText.h"

namespace quillon {
namespace {

CertificateFacts certificate(char sha1, const char* organization) {
  CertificateFacts facts;
  facts.sha1 = std::string(20, sha1);
  if (organization != nullptr) facts.subject.emplace("O", organization);
  return facts;
}

std::string hashText(const char* pair) {
  std::string text = "H\"";
  for (int i = 0; i < 20; ++i) text += pair;
  return text + "\"";
}

std::string derived(const CertificateChain* chain, const std::vector<std::string>& hashes = {}) {
  return requirementText(derivedDesignatedRequirement("a.b", hashes, chain));
}

TEST(DesignatedRequirementTest, AdHocCodeStandsForItsHashes) {
  EXPECT_EQ(derived(nullptr, {std::string(20, '\x11'), std::string(20, '\x22')}),
            "cdhash " + hashText("11") + " or cdhash " + hashText("22"));
}

TEST(DesignatedRequirementTest, OwnAuthorityIsRecognisedByTheLastCertificateOfTheOrganization) {
  CertificateChain chain;
  chain.certificates = {certificate('\x11', "X"), certificate('\x22', "X"), certificate('\x33', "Y")};
  EXPECT_EQ(derived(&chain), "identifier a.b and certificate 1 = " + hashText("22"));

  chain.certificates.back() = certificate('\x33', "X");
  EXPECT_EQ(derived(&chain), "identifier a.b and certificate root = " + hashText("33"));

  chain.certificates.front() = certificate('\x11', nullptr);
  EXPECT_EQ(derived(&chain), "identifier a.b and certificate leaf = " + hashText("11"));
}

TEST(DesignatedRequirementTest, DeveloperIDIsRecognisedByItsTeam) {
  CertificateChain chain;
  chain.isAnchoredByApple = true;
  chain.certificates = {certificate('\x11', "X"), certificate('\x22', "V"), certificate('\x33', "V")};
  chain.certificates[0].subject.emplace("OU", "TEAM");
  chain.certificates[0].extensions.emplace(objectIdentifierContent("1.2.840.113635.100.6.1.13").value(), "");
  chain.certificates[1].extensions.emplace(objectIdentifierContent("1.2.840.113635.100.6.2.6").value(), "");

  EXPECT_EQ(
      derived(&chain),
      "identifier a.b and anchor apple generic and certificate 1[field.1.2.840.113635.100.6.2.6] /* exists */ and "
      "certificate leaf[field.1.2.840.113635.100.6.1.13] /* exists */ and certificate leaf[subject.OU] = TEAM");
}

}  // namespace
}  // namespace quillon
