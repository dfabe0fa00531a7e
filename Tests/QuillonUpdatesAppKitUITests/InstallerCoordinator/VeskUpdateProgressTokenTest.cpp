#include <gtest/gtest.h>

#include <thread>

#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateProgressToken.h"

namespace quillon {
namespace {

TEST(VeskUpdateProgressTokenTest, ATokenIsActiveUntilItIsSwitchedOff) {
  VeskUpdateProgressToken token;
  EXPECT_TRUE(token.isActive());

  token.deactivate();
  token.deactivate();

  EXPECT_FALSE(token.isActive());
}

TEST(VeskUpdateProgressTokenTest, EveryThreadSeesThatItWasSwitchedOff) {
  VeskUpdateProgressToken token;

  std::jthread([&] { token.deactivate(); }).join();

  EXPECT_FALSE(token.isActive());
}

}  // namespace
}  // namespace quillon
