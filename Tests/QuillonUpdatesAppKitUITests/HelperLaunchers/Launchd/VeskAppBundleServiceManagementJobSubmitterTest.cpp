#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskUpdateInstallerError.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/VeskAppBundleServiceManagementJobSubmitter.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using Error = VeskUpdateInstallerError;
using Phase = VeskAppBundleInstallerLaunchPhase;

/// Notes each call, and answers submissions with what it is set to.
class FakeServiceManagement final : public VeskAppBundleServiceManagementClient {
 public:
  void removeJob(const VeskAppBundleLaunchdJob& job, VeskAppBundleAuthorizationRef) noexcept override {
    calls.push_back("remove " + job.label);
  }
  [[nodiscard]] Submission submitJob(const VeskAppBundleLaunchdJob& job, VeskAppBundleAuthorizationRef) override {
    calls.push_back("submit " + job.label);
    return submission;
  }

  Submission submission{.wasTaken = true, .error = std::nullopt};
  std::vector<std::string> calls;
};

class VeskAppBundleServiceManagementJobSubmitterTest : public ::testing::Test {
 protected:
  void submit(bool shouldProceed = true) {
    VeskAppBundleServiceManagementJobSubmitter submitter(client);
    submitter.submit({.label = "org.example.job",
                      .domain = VeskAppBundleLaunchdJobDomain::system,
                      .programArguments = {"/bin/true"}},
                     authorization, [shouldProceed, this] {
                       client->calls.emplace_back("ask");
                       return shouldProceed;
                     });
  }
  /// What submitting throws.
  [[nodiscard]] std::optional<Error> failure(bool shouldProceed = true) {
    try {
      submit(shouldProceed);
    } catch (const Error& error) {
      return error;
    }
    return std::nullopt;
  }

  const std::shared_ptr<FakeServiceManagement> client = std::make_shared<FakeServiceManagement>();
  const VeskAppBundleLaunchdAuthorization authorization{nullptr, {}};
};

TEST_F(VeskAppBundleServiceManagementJobSubmitterTest, AnOlderJobIsRemovedBeforeTheLastLookAtTheTime) {
  submit();

  EXPECT_THAT(client->calls, ElementsAre("remove org.example.job", "ask", "submit org.example.job"));
}

TEST_F(VeskAppBundleServiceManagementJobSubmitterTest, WithoutTimeLeftNothingIsSubmitted) {
  const auto error = failure(false);

  EXPECT_EQ(error, Error::replacementHelperLaunchTimedOut(Phase::postAuthorization));
  EXPECT_THAT(client->calls, ElementsAre("remove org.example.job", "ask"));
}

TEST_F(VeskAppBundleServiceManagementJobSubmitterTest, ARefusalCarriesTheSystemsError) {
  client->submission = {.wasTaken = false, .error = QuillonSystemError("CFErrorDomainLaunchd", 9, "Job is running.")};

  EXPECT_EQ(failure(), Error::replacementHelperLaunchFailed({.phase = Phase::jobSubmission,
                                                             .errorDomain = "CFErrorDomainLaunchd",
                                                             .errorCode = 9,
                                                             .errorDescription = "Job is running."}));
}

TEST_F(VeskAppBundleServiceManagementJobSubmitterTest, ARefusalWithoutErrorSaysSo) {
  client->submission = {.wasTaken = false, .error = std::nullopt};

  EXPECT_EQ(failure(),
            Error::replacementHelperLaunchFailed({.phase = Phase::jobSubmission,
                                                  .errorDomain = "ServiceManagement.SMJobSubmit",
                                                  .errorCode = std::nullopt,
                                                  .errorDescription = "SMJobSubmit returned false without an error."}));
}

}  // namespace
}  // namespace quillon
