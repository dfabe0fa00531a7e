#include <gtest/gtest.h>

#include <stdexcept>

#include "QuillonUpdatesAppKitUI/AppBundleInstaller/VeskAppBundleInstallerLauncherServiceMaking.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCReplacementResult.h"

namespace quillon {
namespace {

using Dictionary = QuillonPropertyListValue::Dictionary;
using Service = VeskAppBundleInstallerLauncherXPCProtocol;

class EchoingService final : public Service {
 public:
  void launchReplacement(const Dictionary& message, Reply reply) override { reply(message); }
};

class RefusingService final : public Service {
 public:
  void launchReplacement(const Dictionary& /*message*/, Reply /*reply*/) override {
    throw std::runtime_error("a test of a service that refuses");
  }
};

TEST(VeskAppBundleInstallerLauncherServiceMakingTest, TheServiceIsMadeForItsHost) {
  const auto made = std::make_shared<EchoingService>();
  std::int32_t host = 0;

  const auto service = makeServiceOrNone(
      [&](std::int32_t hostProcessIdentifier, const auto&) {
        host = hostProcessIdentifier;
        return made;
      },
      501, nullptr);

  EXPECT_EQ(service, made);
  EXPECT_EQ(host, 501);
}

TEST(VeskAppBundleInstallerLauncherServiceMakingTest, AServiceThatCannotBeMadeIsNone) {
  const auto service = makeServiceOrNone(
      [](std::int32_t, const auto&) -> std::shared_ptr<Service> {
        throw std::runtime_error("a test of a service that cannot be made");
      },
      501, nullptr);

  EXPECT_EQ(service, nullptr);
}

TEST(VeskAppBundleInstallerLauncherServiceMakingTest, ARequestReachesTheService) {
  EchoingService service;
  const Dictionary message = {{"key", QuillonPropertyListValue("value")}};
  Dictionary answer;

  launchReplacementOrRefuse(service, message, [&](const Dictionary& reply) { answer = reply; });

  EXPECT_EQ(answer, message);
}

TEST(VeskAppBundleInstallerLauncherServiceMakingTest, ARequestThatIsNotTakenHasAReplyThatCannotBeRead) {
  RefusingService service;
  int count = 0;
  Dictionary answer = {{"key", QuillonPropertyListValue("value")}};

  launchReplacementOrRefuse(service, {}, [&](const Dictionary& reply) {
    ++count;
    answer = reply;
  });

  EXPECT_EQ(count, 1);
  EXPECT_EQ(replacementLaunchResult(answer).caseName(), "protocolFailure");
}

}  // namespace
}  // namespace quillon
