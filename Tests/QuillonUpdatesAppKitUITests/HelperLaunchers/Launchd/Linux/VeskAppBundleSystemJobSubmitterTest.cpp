#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/VeskAppBundleAuthorizationOpaqueRef.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/VeskAppBundleSystemJobSubmitter.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using Domain = VeskAppBundleLaunchdJobDomain;

class RecordingSubmitter final : public VeskAppBundleLaunchdJobSubmitting {
 public:
  void submit(const VeskAppBundleLaunchdJob& job, const VeskAppBundleLaunchdAuthorization& /*authorization*/,
              const std::function<bool()>& shouldProceed) override {
    EXPECT_TRUE(shouldProceed());
    domains.push_back(job.domain);
  }

  std::vector<Domain> domains;
};

class VeskAppBundleSystemJobSubmitterTest : public ::testing::Test {
 protected:
  void submit(VeskAppBundleLaunchdJobDomain domain, VeskAppBundleAuthorizationRef ref) {
    const VeskAppBundleLaunchdAuthorization authorization(ref, nullptr);
    submitter_.submit({.label = "job", .domain = domain, .programArguments = {}}, authorization, [] { return true; });
  }

  std::shared_ptr<RecordingSubmitter> systemd_ = std::make_shared<RecordingSubmitter>();
  std::shared_ptr<RecordingSubmitter> detached_ = std::make_shared<RecordingSubmitter>();
  std::vector<Domain> managedDomains_ = {Domain::system, Domain::user};
  VeskAppBundleSystemJobSubmitter submitter_{
      systemd_, detached_,
      [this](Domain domain) { return std::ranges::find(managedDomains_, domain) != managedDomains_.end(); }};
  VeskAppBundleAuthorizationOpaqueRef authorization_{VeskAppBundleRightGrant::kept};
};

TEST_F(VeskAppBundleSystemJobSubmitterTest, TakesSystemdWhereItManagesTheDomainAndADetachedProcessElsewhere) {
  managedDomains_ = {Domain::system};

  submit(Domain::system, &authorization_);
  submit(Domain::user, &authorization_);

  EXPECT_THAT(systemd_->domains, ElementsAre(Domain::system));
  EXPECT_THAT(detached_->domains, ElementsAre(Domain::user));
}

TEST_F(VeskAppBundleSystemJobSubmitterTest, ARightThatWasGrantedOnceIsEnoughForTheSystem) {
  authorization_.serviceManagementGrant = VeskAppBundleRightGrant::once;

  submit(Domain::system, &authorization_);

  EXPECT_THAT(systemd_->domains, ElementsAre(Domain::system));
}

TEST_F(VeskAppBundleSystemJobSubmitterTest, WithoutTheRightAJobForTheSystemRunsAsTheUser) {
  authorization_.serviceManagementGrant = VeskAppBundleRightGrant::none;

  submit(Domain::system, &authorization_);
  submit(Domain::system, nullptr);

  EXPECT_THAT(systemd_->domains, ElementsAre(Domain::user, Domain::user));
}

TEST_F(VeskAppBundleSystemJobSubmitterTest, WithoutTheRightAndAManagerOfItsOwnItRunsDetached) {
  authorization_.serviceManagementGrant = VeskAppBundleRightGrant::none;
  managedDomains_ = {Domain::system};

  submit(Domain::system, &authorization_);

  EXPECT_THAT(detached_->domains, ElementsAre(Domain::user));
}

}  // namespace
}  // namespace quillon
