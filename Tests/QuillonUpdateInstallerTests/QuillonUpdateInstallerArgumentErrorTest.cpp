#include <gtest/gtest.h>

#include "QuillonUpdateInstaller/QuillonUpdateInstallerArgumentError.h"

namespace quillon {
namespace {

using Error = QuillonUpdateInstallerArgumentError;

TEST(QuillonUpdateInstallerArgumentErrorTest, EveryCaseHasItsText) {
  EXPECT_EQ(Error::missingRequiredArgument("--x").description(), "Missing required argument: --x");
  EXPECT_EQ(Error::missingValue("--x").description(), "Missing value for argument: --x");
  EXPECT_EQ(Error::invalidHostProcessIdentifier().description(), "Invalid host process identifier");
  EXPECT_EQ(Error::invalidApplicationBuild().description(), "Invalid application build");
  EXPECT_EQ(Error::invalidSameBuildReplacementPolicy().description(), "Invalid same-build replacement policy");
  EXPECT_EQ(Error::invalidLaunchUserContext().description(), "Invalid launch user context");
}

TEST(QuillonUpdateInstallerArgumentErrorTest, ErrorsAreEqualByCaseAndOption) {
  EXPECT_EQ(Error::missingValue("--x"), Error::missingValue("--x"));
  EXPECT_FALSE(Error::missingValue("--x") == Error::missingValue("--y"));
  EXPECT_FALSE(Error::missingValue("--x") == Error::missingRequiredArgument("--x"));
  EXPECT_EQ(Error::missingValue("--x").option(), "--x");
}

}  // namespace
}  // namespace quillon
