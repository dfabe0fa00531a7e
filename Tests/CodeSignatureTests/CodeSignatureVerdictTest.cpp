#include <gtest/gtest.h>

#include "CodeSignature/CodeSignatureVerdict.h"

namespace quillon {
namespace {

TEST(CodeSignatureVerdictTest, TextNamesPathReasonPlacesAndSubcomponentInThisOrder) {
  CodeSignatureVerdict verdict;
  verdict.message = "reason";
  verdict.details = {"file added: /a", "file missing: /b"};
  verdict.subcomponent = "/n";

  EXPECT_EQ(verdict.text("P"), "P: reason\nfile added: /a\nfile missing: /b\nIn subcomponent: /n\n");
  EXPECT_EQ(verdict.exitStatus(), 1);
}

TEST(CodeSignatureVerdictTest, ValidCodeIsSilentUnlessItMissesItsOwnRequirement) {
  CodeSignatureVerdict verdict;
  verdict.meetsDesignatedRequirement = true;
  EXPECT_EQ(verdict.text("P"), "");
  EXPECT_EQ(verdict.exitStatus(), 0);

  verdict.meetsDesignatedRequirement = false;
  EXPECT_EQ(verdict.text("P"), "P: does not satisfy its designated Requirement\n");
  EXPECT_EQ(verdict.exitStatus(), 3);
}

}  // namespace
}  // namespace quillon
