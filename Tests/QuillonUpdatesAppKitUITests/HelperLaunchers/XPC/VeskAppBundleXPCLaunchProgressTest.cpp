#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <string>

#include "QuillonCore/Values/QuillonPropertyListCodec.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCLaunchProgress.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCMessageRefusal.h"

namespace quillon {
namespace {

using Progress = VeskAppBundleInstallerLaunchProgress;
using Value = QuillonPropertyListValue;
using Message = Value::Dictionary;

/// The reason why an event is dropped, empty for one that is not.
std::string reasonOfDropping(const Message& message) {
  try {
    static_cast<void>(readInstallerLaunchProgress(message));
    return {};
  } catch (const VeskAppBundleXPCMessageRefusal& refusal) {
    EXPECT_EQ(installerLaunchProgress(message), std::nullopt);
    return refusal.description();
  }
}

Message required(Value isWritable, Value canPreserve) {
  return {{"event", Value("authorizationRequired")},
          {"destinationParentIsWritable", std::move(isWritable)},
          {"canPreserveInstalledOwnership", std::move(canPreserve)}};
}

Message ended(Value elapsed) {
  return {{"event", Value("authorizationEnded")}, {"elapsedNanoseconds", std::move(elapsed)}};
}

TEST(VeskAppBundleXPCLaunchProgressTest, EveryEventIsWrittenWithItsPayload) {
  EXPECT_EQ(xpcDictionary(Progress::authorizationRequired({.destinationParentIsWritable = true})),
            required(Value(true), Value(false)));
  EXPECT_EQ(xpcDictionary(Progress::authorizationRequired({.canPreserveInstalledOwnership = true})),
            required(Value(false), Value(true)));
  EXPECT_EQ(xpcDictionary(Progress::authorizationEnded(12)), ended(Value(12)));
  EXPECT_EQ(xpcDictionary(Progress::handoffStarted()), (Message{{"event", Value("handoffStarted")}}));
  EXPECT_EQ(xpcDictionary(Progress::authorizationBegan()), (Message{{"event", Value("authorizationBegan")}}));
  EXPECT_EQ(xpcDictionary(Progress::jobSubmitted()), (Message{{"event", Value("jobSubmitted")}}));
}

TEST(VeskAppBundleXPCLaunchProgressTest, EveryEventSurvivesTheTrip) {
  for (const Progress& progress :
       {Progress::authorizationRequired({}), Progress::authorizationRequired({.destinationParentIsWritable = true}),
        Progress::authorizationRequired({.canPreserveInstalledOwnership = true}), Progress::authorizationEnded(0),
        Progress::authorizationEnded(9223372036854775807U), Progress::handoffStarted(), Progress::authorizationBegan(),
        Progress::jobSubmitted()}) {
    SCOPED_TRACE(progress.caseName());
    const Message message = xpcDictionary(progress);

    EXPECT_EQ(installerLaunchProgress(message), progress);
    EXPECT_EQ(installerLaunchProgress(*readPropertyList(writeBinaryPropertyList(Value(message))).getIf<Message>()),
              progress);
  }
}

TEST(VeskAppBundleXPCLaunchProgressTest, ATimeBeyondTheIntegersOfPropertyListsIsTheLargestOfThem) {
  EXPECT_EQ(xpcDictionary(Progress::authorizationEnded(9223372036854775808U)),
            ended(Value(std::numeric_limits<std::int64_t>::max())));
  EXPECT_EQ(xpcDictionary(Progress::authorizationEnded(std::numeric_limits<std::uint64_t>::max())),
            ended(Value(std::numeric_limits<std::int64_t>::max())));
}

TEST(VeskAppBundleXPCLaunchProgressTest, FlagsMayBeNumbersOrTexts) {
  EXPECT_EQ(installerLaunchProgress(required(Value(1), Value("FALSE"))),
            Progress::authorizationRequired({.destinationParentIsWritable = true}));
}

TEST(VeskAppBundleXPCLaunchProgressTest, AnEventWithoutAReadableFlagIsDropped) {
  Message message = required(Value(true), Value(true));
  message.erase("canPreserveInstalledOwnership");

  EXPECT_EQ(reasonOfDropping(message), "\"canPreserveInstalledOwnership\" is missing");
  EXPECT_EQ(reasonOfDropping(required(Value("True"), Value(true))),
            "\"destinationParentIsWritable\" is no Boolean: string \"True\"");
}

TEST(VeskAppBundleXPCLaunchProgressTest, ANegativeTimeIsDropped) {
  EXPECT_EQ(reasonOfDropping(ended(Value(-1))), "\"elapsedNanoseconds\" is no number from 0: integer -1");
}

TEST(VeskAppBundleXPCLaunchProgressTest, ATimeThatIsNoNumberIsDropped) {
  EXPECT_EQ(reasonOfDropping(ended(Value("12"))), "\"elapsedNanoseconds\" is no number from 0: string \"12\"");
  EXPECT_NE(reasonOfDropping(ended(Value(Value::Array{Value(12)}))), "");
  EXPECT_EQ(reasonOfDropping({{"event", Value("authorizationEnded")}}), "\"elapsedNanoseconds\" is missing");
}

TEST(VeskAppBundleXPCLaunchProgressTest, AnUnknownEventIsDropped) {
  EXPECT_EQ(reasonOfDropping({}), "\"event\" is missing");
  EXPECT_EQ(reasonOfDropping({{"event", Value(5)}}), "\"event\" is no text: integer 5");
  EXPECT_EQ(reasonOfDropping({{"event", Value("handoffstarted")}}),
            "\"event\" is no event of a launch: string \"handoffstarted\"");
  EXPECT_NE(reasonOfDropping({{"event", Value(std::string(1'000'000, 'x'))}}), "");
}

TEST(VeskAppBundleXPCLaunchProgressTest, KeysThatAnEventDoesNotHaveDoNoHarm) {
  Message message = ended(Value(-1));
  message.insert_or_assign("event", Value("jobSubmitted"));

  EXPECT_EQ(installerLaunchProgress(message), Progress::jobSubmitted());
}

}  // namespace
}  // namespace quillon
