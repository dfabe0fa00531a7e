#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskUpdateInstallerError.h"
#include "SampleHost/Sources/UpdateFailureExplanation.h"

namespace sample {
namespace {

using ::testing::HasSubstr;
using ::testing::Optional;
using Error = quillon::VeskUpdateInstallerError;

TEST(UpdateFailureExplanationTest, AnErrorIsExplainedByItsDescription) {
  EXPECT_THAT(explanationOfUpdateFailure(Error::signatureValidationFailed().description()),
              Optional(HasSubstr("does not come from the maker")));
  EXPECT_THAT(explanationOfUpdateFailure(Error::destinationNotWritable().description()),
              Optional(HasSubstr("cannot be changed")));
}

TEST(UpdateFailureExplanationTest, WhatAnErrorCarriesIsNoMatterOfUsers) {
  const Error error = Error::authorizationDenied({.status = -60005, .message = "denied"});

  EXPECT_EQ(explanationOfUpdateFailure(error.description()), "An administrator has to allow the update.");
}

TEST(UpdateFailureExplanationTest, AFailureWithoutSentenceIsLeftToTheAlert) {
  EXPECT_EQ(explanationOfUpdateFailure(Error(Error::Code::downloadFailed).description()), std::nullopt);
  EXPECT_EQ(explanationOfUpdateFailure("Unknown helper failure"), std::nullopt);
  EXPECT_EQ(explanationOfUpdateFailure(""), std::nullopt);
}

/// Every failure but those that the alerts say all about: of downloads, and of a dialog that was closed. And that of an
/// installer document, which this host does not open.
class ExplainedFailureTest : public ::testing::TestWithParam<Error::Code> {};

TEST_P(ExplainedFailureTest, HasASentence) {
  EXPECT_TRUE(explanationOfUpdateFailure(quillon::caseName(GetParam()))) << quillon::caseName(GetParam());
}

INSTANTIATE_TEST_SUITE_P(
    All, ExplainedFailureTest,
    ::testing::Values(Error::Code::authorizationDenied, Error::Code::writeFailed, Error::Code::unzipFailed,
                      Error::Code::invalidArchive, Error::Code::noAppBundleFound, Error::Code::multipleAppBundlesFound,
                      Error::Code::bundleIdentifierMismatch, Error::Code::teamIdentifierMismatch,
                      Error::Code::missingExecutable, Error::Code::signatureValidationFailed,
                      Error::Code::nonNewerBundleVersion, Error::Code::minimumOSVersionUnsupported,
                      Error::Code::replacementHelperUnavailable, Error::Code::replacementHelperLaunchTimedOut,
                      Error::Code::replacementHelperProtocolFailure, Error::Code::replacementHelperLaunchFailed,
                      Error::Code::replacementLaunchFailed, Error::Code::destinationNotWritable,
                      Error::Code::replacementFailed, Error::Code::relaunchFailed),
    [](const auto& failure) { return std::string(quillon::caseName(failure.param)); });

}  // namespace
}  // namespace sample
