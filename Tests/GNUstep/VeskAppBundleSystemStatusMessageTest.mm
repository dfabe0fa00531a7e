#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Apple/VeskAppBundleSystemStatusMessage.h"

#include <gtest/gtest.h>

#include <optional>

namespace quillon {
namespace {

TEST(VeskAppBundleSystemStatusMessageTest, AStatusHasTheSystemsTextOrNone) {
  EXPECT_EQ(systemStatusMessage(-60005), "status -60005");
  EXPECT_EQ(systemStatusMessage(-1), std::nullopt);
}

}  // namespace
}  // namespace quillon
