#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <string_view>

#include "QuillonTool/Update/UpdateExplanation.h"

namespace quillon {
namespace {

using Code = VeskUpdateInstallerError::Code;
using ::testing::EndsWith;
using ::testing::StartsWith;

TEST(UpdateExplanationTest, EveryFailureHasSentencesOfItsOwn) {
  std::set<std::string_view> texts;
  for (int value = 0; value <= static_cast<int>(Code::relaunchFailed); ++value) {
    const std::string_view text = explanation(static_cast<Code>(value));
    EXPECT_THAT(text, EndsWith(".")) << value;
    texts.insert(text);
  }

  EXPECT_EQ(texts.size(), 24U);
}

TEST(UpdateExplanationTest, AReportIsExplainedByTheNameItBeginsWith) {
  EXPECT_EQ(explanationOfReport("signatureValidationFailed"), explanation(Code::signatureValidationFailed));
  EXPECT_EQ(explanationOfReport("authorizationDenied(-60005)"), explanation(Code::authorizationDenied));
  EXPECT_THAT(explanationOfReport("Unknown helper failure"), StartsWith("The installer failed."));
  EXPECT_THAT(explanationOfReport(""), ::testing::StrEq("The installer failed."));
}

TEST(UpdateExplanationTest, FetchingAndInstallingAreToldApart) {
  EXPECT_TRUE(isDownloadFailure(Code::downloadFailed) && isDownloadFailure(Code::writeFailed));
  EXPECT_FALSE(isDownloadFailure(Code::unzipFailed) || isDownloadFailure(Code::replacementFailed));
}

}  // namespace
}  // namespace quillon
