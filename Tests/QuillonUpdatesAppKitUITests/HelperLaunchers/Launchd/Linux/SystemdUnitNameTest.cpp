#include <gtest/gtest.h>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Linux/SystemdUnitName.h"

namespace quillon {
namespace {

TEST(SystemdUnitNameTest, ReverseDNSNameStandsAsItIs) {
  EXPECT_EQ(systemdServiceName("org.example.My-App_2.quillon-updater"), "org.example.My-App_2.quillon-updater.service");
}

TEST(SystemdUnitNameTest, WhatNoNameHoldsIsEscaped) {
  EXPECT_EQ(systemdServiceName("a b/c@d"), "a\\x20b\\x2fc\\x40d.service");
  EXPECT_EQ(systemdServiceName("\u00E9"), "\\xc3\\xa9.service");
  EXPECT_EQ(systemdServiceName(".a"), "\\x2ea.service");
}

TEST(SystemdUnitNameTest, EscapesAreEscaped) {
  EXPECT_EQ(systemdServiceName("a\\x20b"), "a\\x5cx20b.service");
}

}  // namespace
}  // namespace quillon
