#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/SystemdUnitEnvironment.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using Variables = std::vector<std::string>;

TEST(SystemdUnitEnvironmentTest, WhatTheUserHasSetIsHandedOnInItsOrder) {
  const Variables variables = {
      "PATH=/home/someone/bin:/usr/bin", "LANG=de_DE.UTF-8", "https_proxy=http://proxy.example.org:3128",
      "WAYLAND_DISPLAY=wayland-0",       "XDG_SESSION_ID=2", "_A1=a"};

  EXPECT_THAT(systemdUnitEnvironment(variables), ElementsAreArray(variables));
}

TEST(SystemdUnitEnvironmentTest, ValuesAreHandedOnAsTheyStand) {
  const Variables variables = {
      "EMPTY=",         "EQUALS=a=b=", "PERCENT=100%h %%",        "DOLLAR=$HOME ${HOME}",        "QUOTES=\"a\" 'b' \\n",
      "BLANKS= a\tb\n", "CR=a\r",      "CONTROL=\x1B[1m\x01\x7F", "TEXT=\u00E9\u20AC\U0001F600",
  };

  EXPECT_THAT(systemdUnitEnvironment(variables), ElementsAreArray(variables));
}

TEST(SystemdUnitEnvironmentTest, WhatIsAboutTheProcessItselfIsLeftOut) {
  EXPECT_THAT(systemdUnitEnvironment({"INVOCATION_ID=1",
                                      "JOURNAL_STREAM=8:1",
                                      "NOTIFY_SOCKET=/n",
                                      "LISTEN_FDS=1",
                                      "LISTEN_PID=1",
                                      "LISTEN_FDNAMES=a",
                                      "WATCHDOG_USEC=1",
                                      "WATCHDOG_PID=1",
                                      "SYSTEMD_EXEC_PID=1",
                                      "MAINPID=1",
                                      "MANAGERPID=1",
                                      "MONITOR_UNIT=a",
                                      "TRIGGER_UNIT=a",
                                      "RUNTIME_DIRECTORY=/r",
                                      "STATE_DIRECTORY=/s",
                                      "CREDENTIALS_DIRECTORY=/c",
                                      "DBUS_STARTER_ADDRESS=a",
                                      "DBUS_STARTER_BUS_TYPE=session",
                                      "DESKTOP_STARTUP_ID=a",
                                      "XDG_ACTIVATION_TOKEN=a",
                                      "GIO_LAUNCHED_DESKTOP_FILE=a",
                                      "GIO_LAUNCHED_DESKTOP_FILE_PID=1"}),
              IsEmpty());
}

TEST(SystemdUnitEnvironmentTest, NamesThatOnlyBeginLikeThoseStay) {
  const Variables variables = {"INVOCATION_IDS=1", "MAINPID2=1", "LISTENER=a", "XDG_RUNTIME_DIR=/run/user/1000",
                               "XDG_STATE_HOME=/s"};

  EXPECT_THAT(systemdUnitEnvironment(variables), ElementsAreArray(variables));
}

TEST(SystemdUnitEnvironmentTest, AnOddNameCostsNoOtherVariable) {
  EXPECT_THAT(systemdUnitEnvironment({"A=1", "no equals sign", "", "=value", "1A=1", "A-B=1", "A.B=1", "A B=1",
                                      "BASH_FUNC_f%%=() { :; }", "\u00C4=1", "B=2"}),
              ElementsAre("A=1", "B=2"));
}

TEST(SystemdUnitEnvironmentTest, AnOddValueCostsNoOtherVariable) {
  EXPECT_THAT(systemdUnitEnvironment({"A=1", "BYTE=\xFF", "LATIN1=caf\xE9", "OVERLONG=\xC0\xAF", "CUT=\xE2\x82",
                                      "SURROGATE=\xED\xA0\x80", "TOO_HIGH=\xF4\x90\x80\x80", "NON=\xEF\xBF\xBE",
                                      "NON2=\xEF\xB7\x90", "NON3=\xF0\x9F\xBF\xBF", "B=2"}),
              ElementsAre("A=1", "B=2"));
}

TEST(SystemdUnitEnvironmentTest, OfTwoVariablesOfANameTheFirstCounts) {
  EXPECT_THAT(systemdUnitEnvironment({"A=1", "A=2", "AB=3", "C=\xFF", "C=4"}), ElementsAre("A=1", "AB=3"));
}

TEST(SystemdUnitEnvironmentTest, TheLongestVariablesAreLeftOutUntilTheRestIsShortEnough) {
  const std::string half(kLongestUnitEnvironment / 2, 'x');

  EXPECT_THAT(systemdUnitEnvironment({"PATH=/usr/bin", "LONG=" + half, "A=" + half, "LANG=C"}),
              ElementsAre("PATH=/usr/bin", "A=" + half, "LANG=C"));
  EXPECT_THAT(systemdUnitEnvironment({"PATH=/usr/bin", "A=" + half + half, "B=" + half + half, "LANG=C"}),
              ElementsAre("PATH=/usr/bin", "LANG=C"));
}

TEST(SystemdUnitEnvironmentTest, ALengthThatJustFitsIsHandedOn) {
  const std::string longest = "A=" + std::string(kLongestUnitEnvironment - 3, 'x');  // a null byte is behind it

  EXPECT_THAT(systemdUnitEnvironment({longest}), ElementsAre(longest));
  EXPECT_THAT(systemdUnitEnvironment({longest + "x"}), IsEmpty());
}

TEST(SystemdUnitEnvironmentTest, ThereAreNoMoreVariablesThanAManagerTakesInPassing) {
  Variables variables = {"LONGEST_OF_ALL=1"};
  for (std::size_t number = 0; number < kLargestUnitEnvironment; ++number) {
    variables.push_back("V" + std::to_string(number) + "=");
  }

  const Variables environment = systemdUnitEnvironment(variables);

  EXPECT_THAT(environment, ElementsAreArray(variables.begin() + 1, variables.end()));
  EXPECT_THAT(environment, SizeIs(kLargestUnitEnvironment));
}

}  // namespace
}  // namespace quillon
