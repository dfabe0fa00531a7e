#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/VeskAppBundleSystemJobSubmitter.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;

class RecordingSubmitter final : public VeskAppBundleLaunchdJobSubmitting {
 public:
  void submit(const VeskAppBundleLaunchdJob& job, const VeskAppBundleLaunchdAuthorization& /*authorization*/,
              const std::function<bool()>& shouldProceed) override {
    EXPECT_TRUE(shouldProceed());
    labels.push_back(job.label);
  }

  std::vector<std::string> labels;
};

TEST(VeskAppBundleSystemJobSubmitterTest, TakesSystemdWhereItManagesTheDomainAndADetachedProcessElsewhere) {
  const auto systemd = std::make_shared<RecordingSubmitter>();
  const auto detached = std::make_shared<RecordingSubmitter>();
  VeskAppBundleSystemJobSubmitter submitter(systemd, detached, [](VeskAppBundleLaunchdJobDomain domain) {
    return domain == VeskAppBundleLaunchdJobDomain::system;
  });
  const VeskAppBundleLaunchdAuthorization authorization(nullptr, nullptr);

  submitter.submit({.label = "first", .domain = VeskAppBundleLaunchdJobDomain::system, .programArguments = {}},
                   authorization, [] { return true; });
  submitter.submit({.label = "second", .domain = VeskAppBundleLaunchdJobDomain::user, .programArguments = {}},
                   authorization, [] { return true; });

  EXPECT_THAT(systemd->labels, ElementsAre("first"));
  EXPECT_THAT(detached->labels, ElementsAre("second"));
}

}  // namespace
}  // namespace quillon
