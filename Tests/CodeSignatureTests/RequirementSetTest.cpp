#include <gtest/gtest.h>

#include "CodeSignature/BlobBuilder.h"
#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/RequirementSet.h"
#include "CodeSignature/RequirementText.h"

namespace quillon {
namespace {

TEST(RequirementSetTest, EmptySetHasTwelveBytes) {
  EXPECT_EQ(buildRequirementSet({}).size(), 12U);
  EXPECT_TRUE(parseRequirementSet(buildRequirementSet({})).empty());
}

TEST(RequirementSetTest, RequirementsAreReadBackByPurpose) {
  const RequirementSet set = {{RequirementPurpose::designated, parseRequirementText("identifier a and always")},
                              {RequirementPurpose::host, parseRequirementText("never")}};

  EXPECT_EQ(parseRequirementSet(buildRequirementSet(set)), set);
}

TEST(RequirementSetTest, DamagedSetsAreRefused) {
  const std::string blob = buildRequirementSet({{RequirementPurpose::designated, parseRequirementText("always")}});

  for (std::size_t length = 0; length < blob.size(); ++length) {
    EXPECT_THROW((void)parseRequirementSet(blob.substr(0, length)), CodeSignatureError) << length;
  }
  EXPECT_THROW((void)parseRequirementSet(BlobBuilder().u32(0xFADE0C01).u32(12).u32(0xFFFFFFFF).blob()),
               CodeSignatureError);
  for (const std::size_t byte : {15, 16, 19}) {  // purpose, offset
    std::string changed = blob;
    changed[byte] = '\x7F';
    EXPECT_THROW((void)parseRequirementSet(changed), CodeSignatureError) << byte;
  }
}

}  // namespace
}  // namespace quillon
