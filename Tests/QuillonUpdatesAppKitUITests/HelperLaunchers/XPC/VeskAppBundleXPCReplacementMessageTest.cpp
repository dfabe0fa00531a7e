#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

#include "QuillonCore/Values/QuillonPropertyListCodec.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskUpdateInstallerError.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCMessageRefusal.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCReplacementMessage.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCReplacementMessageKeys.h"

namespace quillon {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;
using Keys = VeskAppBundleXPCReplacementMessageKeys;
using Message = VeskAppBundleXPCReplacementMessage;
using Request = VeskAppBundleReplacementRequest;
using Value = QuillonPropertyListValue;

Request completeRequest() {
  return {.stagedApplicationURL = QuillonURL::fileURL("/Users/ada/Staging/Example 2.app"),
          .installedApplicationURL = QuillonURL::fileURL("/Applications/Example.app"),
          .helperExecutableURL = std::nullopt,
          .hostIdentity = VeskAppBundleUpdateHostIdentity{.bundleIdentifier = "org.example.App",
                                                          .applicationVersion = "1.4",
                                                          .applicationBuild = 140,
                                                          .expectedTeamIdentifier = "TEAM123456",
                                                          .allowsSameBuildReplacement = true},
          .shouldRequestAuthorizationIfNeeded = true,
          .launchUserContext =
              VeskAppBundleLaunchdUserContext{
                  .userIdentifier = 501, .groupIdentifier = 20, .userName = "ada", .homeDirectory = "/Users/ada"},
          .failureReportURL = QuillonURL::fileURL("/Users/ada/Report.plist"),
          .failureReportAttemptIdentifier = "A-1"};
}

class VeskAppBundleXPCReplacementMessageTest : public ::testing::Test {
 protected:
  Request parseWith(std::string_view key, Value value) {
    message_.insert_or_assign(std::string(key), std::move(value));
    return Message::parse(message_);
  }
  Request parseWithout(std::string_view key) {
    message_.erase(std::string(key));
    return Message::parse(message_);
  }
  /// Whether the message fails, for the host without a reason and for people with one that names `key`.
  bool failsWith(std::string_view key, Value value) {
    message_.insert_or_assign(std::string(key), std::move(value));
    return failsBecauseOf(key);
  }
  bool failsWithout(std::string_view key) {
    message_.erase(std::string(key));
    return failsBecauseOf(key);
  }
  bool failsBecauseOf(std::string_view key) const {
    try {
      static_cast<void>(Message::read(message_));
      return false;
    } catch (const VeskAppBundleXPCMessageRefusal& refusal) {
      EXPECT_THAT(refusal.description(), StartsWith("\"" + std::string(key) + "\" is "));
    }
    try {
      static_cast<void>(Message::parse(message_));
      return false;
    } catch (const VeskUpdateInstallerError& error) {
      EXPECT_EQ(error, VeskUpdateInstallerError::replacementLaunchFailed());
    }
    return true;
  }

  Value::Dictionary message_ = Message{completeRequest()}.propertyList();
};

TEST_F(VeskAppBundleXPCReplacementMessageTest, WritesEveryFieldUnderItsKey) {
  EXPECT_EQ(message_, (Value::Dictionary{
                          {"stagedApplicationPath", Value("/Users/ada/Staging/Example 2.app")},
                          {"installedApplicationPath", Value("/Applications/Example.app")},
                          {"shouldRequestAuthorizationIfNeeded", Value(true)},
                          {"bundleIdentifier", Value("org.example.App")},
                          {"applicationVersion", Value("1.4")},
                          {"applicationBuild", Value(140)},
                          {"allowsSameBuildReplacement", Value(true)},
                          {"expectedTeamIdentifier", Value("TEAM123456")},
                          {"launchUserIdentifier", Value(501)},
                          {"launchGroupIdentifier", Value(20)},
                          {"launchUserName", Value("ada")},
                          {"launchUserHomeDirectory", Value("/Users/ada")},
                          {"failureReportPath", Value("/Users/ada/Report.plist")},
                          {"failureReportAttemptIdentifier", Value("A-1")},
                      }));
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, TheListOfKeysNamesEachThatIsWritten) {
  EXPECT_EQ(Keys::all.size(), message_.size());
  for (const std::string_view key : Keys::all) EXPECT_TRUE(message_.contains(key)) << key;
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, ACompleteRequestSurvivesTheTrip) {
  EXPECT_EQ(Message::parse(message_), completeRequest());
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, ACompleteRequestSurvivesEveryFormatOfPropertyLists) {
  const Value value(message_);

  EXPECT_EQ(Message::parse(*readPropertyList(writeBinaryPropertyList(value)).getIf<Value::Dictionary>()),
            completeRequest());
  EXPECT_EQ(Message::parse(*readPropertyList(writeXMLPropertyList(value)).getIf<Value::Dictionary>()),
            completeRequest());
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, ARequestWithNothingOptionalSurvivesTheTrip) {
  Request request = completeRequest();
  request.hostIdentity->expectedTeamIdentifier = std::nullopt;
  request.launchUserContext = std::nullopt;
  request.failureReportURL = std::nullopt;
  request.failureReportAttemptIdentifier = std::nullopt;

  const Value::Dictionary message = Message{request}.propertyList();

  EXPECT_EQ(message.size(), 7U);
  EXPECT_EQ(Message::parse(message), request);
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, TheLargestAndSmallestNumbersSurviveTheTrip) {
  for (const std::int64_t build :
       {std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max()}) {
    Request request = completeRequest();
    request.hostIdentity->applicationBuild = build;
    request.launchUserContext->userIdentifier = 4294967295U;
    request.launchUserContext->groupIdentifier = 0;

    EXPECT_EQ(Message::parse(Message{request}.propertyList()), request);
  }
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, TheInstallersLocationIsNotSent) {
  Request request = completeRequest();
  request.helperExecutableURL = QuillonURL::fileURL("/tmp/other-installer");

  EXPECT_EQ(Message{request}.propertyList(), message_);
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, AMessageCannotNameAnInstaller) {
  EXPECT_EQ(parseWith("helperExecutablePath", Value("/tmp/other-installer")).helperExecutableURL, std::nullopt);
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, ARequestWithoutHostIdentityIsWrittenButNotRead) {
  Request request = completeRequest();
  request.hostIdentity = std::nullopt;

  message_ = Message{request}.propertyList();

  EXPECT_EQ(message_.size(), 9U);
  EXPECT_TRUE(failsBecauseOf("bundleIdentifier"));
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, ATeamThatIsNotThereIsNotWritten) {
  Request request = completeRequest();
  request.hostIdentity->expectedTeamIdentifier = std::nullopt;

  EXPECT_FALSE(Message{request}.propertyList().contains("expectedTeamIdentifier"));
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, ATeamThatIsNoStringCountsAsAbsent) {
  for (const Value& value : {Value(7), Value(true), Value(Value::Array{Value("TEAM123456")})}) {
    EXPECT_EQ(parseWith(Keys::expectedTeamIdentifier, value).hostIdentity->expectedTeamIdentifier, std::nullopt);
  }
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, AnEmptyTeamIsATeam) {
  EXPECT_EQ(parseWith(Keys::expectedTeamIdentifier, Value("")).hostIdentity->expectedTeamIdentifier, "");
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, EachRequiredKeyIsRequired) {
  for (const std::string_view key :
       {Keys::stagedApplicationPath, Keys::installedApplicationPath, Keys::shouldRequestAuthorizationIfNeeded,
        Keys::bundleIdentifier, Keys::applicationVersion, Keys::applicationBuild, Keys::allowsSameBuildReplacement}) {
    SCOPED_TRACE(key);
    message_ = Message{completeRequest()}.propertyList();

    EXPECT_TRUE(failsWithout(key));
  }
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, ATextThatIsNoStringFailsTheMessage) {
  for (const std::string_view key : {Keys::stagedApplicationPath, Keys::installedApplicationPath,
                                     Keys::bundleIdentifier, Keys::applicationVersion}) {
    SCOPED_TRACE(key);
    message_ = Message{completeRequest()}.propertyList();

    EXPECT_TRUE(failsWith(key, Value(1)));
    EXPECT_TRUE(failsWith(key, Value(Value::Dictionary{{"a", Value("b")}})));
  }
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, EmptyTextsOfTheHostAreTaken) {
  EXPECT_EQ(parseWith(Keys::applicationVersion, Value("")).hostIdentity->applicationVersion, "");
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, AnEmptyMessageFails) {
  message_.clear();

  EXPECT_TRUE(failsBecauseOf("stagedApplicationPath"));
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, TheFirstProblemInTheOrderOfReadingIsNamed) {
  message_.erase("launchUserName");
  message_.erase("shouldRequestAuthorizationIfNeeded");
  message_.erase("applicationBuild");

  EXPECT_TRUE(failsBecauseOf("applicationBuild"));
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, ABuildMayBeATextWithASign) {
  EXPECT_EQ(parseWith(Keys::applicationBuild, Value("+42")).hostIdentity->applicationBuild, 42);
  EXPECT_EQ(parseWith(Keys::applicationBuild, Value("-42")).hostIdentity->applicationBuild, -42);
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, ABuildWithATrailingBlankFails) {
  EXPECT_TRUE(failsWith(Keys::applicationBuild, Value("42 ")));
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, AnEmptyBuildFails) {
  EXPECT_TRUE(failsWith(Keys::applicationBuild, Value("")));
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, ABuildThatIsALoneSignFails) {
  EXPECT_TRUE(failsWith(Keys::applicationBuild, Value("+")));
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, ABuildMayBeAReal) {
  EXPECT_EQ(parseWith(Keys::applicationBuild, Value(42.9)).hostIdentity->applicationBuild, 42);
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, AFlagInCapitalsIsTaken) {
  EXPECT_TRUE(parseWith(Keys::allowsSameBuildReplacement, Value("TRUE")).hostIdentity->allowsSameBuildReplacement);
  EXPECT_FALSE(parseWith(Keys::allowsSameBuildReplacement, Value("FALSE")).hostIdentity->allowsSameBuildReplacement);
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, ACapitalizedFlagFails) {
  EXPECT_TRUE(failsWith(Keys::allowsSameBuildReplacement, Value("True")));
  EXPECT_TRUE(failsWith(Keys::allowsSameBuildReplacement, Value("yes")));
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, TheAuthorizationFlagFollowsTheSameRule) {
  EXPECT_FALSE(parseWith(Keys::shouldRequestAuthorizationIfNeeded, Value("0")).shouldRequestAuthorizationIfNeeded);
  EXPECT_TRUE(parseWith(Keys::shouldRequestAuthorizationIfNeeded, Value(2)).shouldRequestAuthorizationIfNeeded);
  EXPECT_TRUE(failsWith(Keys::shouldRequestAuthorizationIfNeeded, Value("")));
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, AMessageWithNoneOfTheUsersKeysHasNoUser) {
  for (const std::string_view key : Keys::launchUser) message_.erase(std::string(key));

  EXPECT_EQ(Message::parse(message_).launchUserContext, std::nullopt);
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, AUserWithoutNameAndHomeFails) {
  message_.erase("launchUserHomeDirectory");

  EXPECT_TRUE(failsWithout("launchUserName"));
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, AnythingBetweenNoneAndAllOfTheUsersKeysFails) {
  for (unsigned present = 1; present < 15; ++present) {
    SCOPED_TRACE(present);
    message_ = Message{completeRequest()}.propertyList();
    for (std::size_t i = 0; i < Keys::launchUser.size(); ++i) {
      if ((present >> i & 1) == 0) message_.erase(std::string(Keys::launchUser.at(i)));
    }

    EXPECT_THROW(static_cast<void>(Message::parse(message_)), VeskUpdateInstallerError);
  }
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, AUsersKeyThatIsAloneFailsWhateverItsValue) {
  for (const std::string_view key : Keys::launchUser) message_.erase(std::string(key));

  message_.emplace("launchUserName", Value(Value::Array{}));

  EXPECT_THROW(static_cast<void>(Message::parse(message_)), VeskUpdateInstallerError);
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, ANegativeUserFails) {
  EXPECT_TRUE(failsWith(Keys::launchUserIdentifier, Value(-1)));
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, TheLargestUserIsTaken) {
  EXPECT_EQ(parseWith(Keys::launchUserIdentifier, Value(std::int64_t{4294967295})).launchUserContext->userIdentifier,
            4294967295U);
  EXPECT_EQ(parseWith(Keys::launchUserIdentifier, Value("4294967295")).launchUserContext->userIdentifier, 4294967295U);
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, AUserBeyond32BitsFails) {
  EXPECT_TRUE(failsWith(Keys::launchUserIdentifier, Value(std::int64_t{4294967296})));
  EXPECT_TRUE(failsWith(Keys::launchUserIdentifier, Value("4294967296")));
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, ABadGroupFails) {
  EXPECT_TRUE(failsWith(Keys::launchGroupIdentifier, Value("-0")));
  EXPECT_TRUE(failsWith(Keys::launchGroupIdentifier, Value(std::numeric_limits<double>::quiet_NaN())));
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, AnEmptyUserNameFails) {
  EXPECT_TRUE(failsWith(Keys::launchUserName, Value("")));
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, AnEmptyHomeFails) {
  EXPECT_TRUE(failsWith(Keys::launchUserHomeDirectory, Value("")));
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, AUserNameThatIsNoStringFails) {
  EXPECT_TRUE(failsWith(Keys::launchUserName, Value(501)));
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, AReportThatIsNoStringCountsAsAbsent) {
  EXPECT_EQ(parseWith(Keys::failureReportPath, Value(1)).failureReportURL, std::nullopt);
  EXPECT_EQ(parseWith(Keys::failureReportAttemptIdentifier, Value(1)).failureReportAttemptIdentifier, std::nullopt);
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, APathIsTakenAsItStandsAndNotAsTheTextOfAURL) {
  EXPECT_EQ(parseWith(Keys::stagedApplicationPath, Value("/a%20b/../C.app")).stagedApplicationURL.path(),
            "/a%20b/../C.app");
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, ARelativePathIsTakenFromTheCurrentFolder) {
  EXPECT_EQ(parseWith(Keys::stagedApplicationPath, Value("C.app")).stagedApplicationURL, QuillonURL::fileURL("C.app"));
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, APathWithANULCharacterFails) {
  EXPECT_TRUE(failsWith(Keys::installedApplicationPath, Value(std::string("/Applications\0.app", 18))));
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, KeysThatNobodyKnowsDoNoHarm) {
  Value nested(1);
  for (int depth = 0; depth < 500; ++depth) nested = Value(Value::Array{std::move(nested)});
  message_.emplace("", Value("empty key"));
  message_.emplace("StagedApplicationPath", Value("/tmp/other.app"));
  message_.emplace("nested", std::move(nested));
  message_.emplace(std::string(100'000, 'k'), Value(std::string(1'000'000, 'v')));

  EXPECT_EQ(Message::parse(message_), completeRequest());
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, AHugeTextIsTakenAsItIs) {
  const std::string huge(1'000'000, 'x');

  EXPECT_EQ(parseWith(Keys::bundleIdentifier, Value(huge)).hostIdentity->bundleIdentifier, huge);
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, TheReasonOfAFailureShowsOnlyAPieceOfAHugeText) {
  message_.insert_or_assign("applicationBuild", Value(std::string(1'000'000, '9')));

  try {
    static_cast<void>(Message::read(message_));
    FAIL() << "the message was read";
  } catch (const VeskAppBundleXPCMessageRefusal& refusal) {
    EXPECT_THAT(refusal.description(), HasSubstr("(1000000 bytes)"));
    EXPECT_LT(refusal.description().size(), 200U);
  }
}

TEST_F(VeskAppBundleXPCReplacementMessageTest, AContainerIsReadInNoFieldsPlace) {
  for (const std::string_view key : Keys::all) {
    SCOPED_TRACE(key);
    message_ = Message{completeRequest()}.propertyList();
    message_.insert_or_assign(std::string(key),
                              Value(Value::Dictionary{{std::string(key), message_.at(std::string(key))}}));
    const bool isOptional = key == Keys::expectedTeamIdentifier || key == Keys::failureReportPath ||
                            key == Keys::failureReportAttemptIdentifier;

    if (isOptional) {
      EXPECT_EQ(Message{Message::parse(message_)}.propertyList().count(key), 0U);
    } else {
      EXPECT_TRUE(failsBecauseOf(key));
    }
  }
}

}  // namespace
}  // namespace quillon
