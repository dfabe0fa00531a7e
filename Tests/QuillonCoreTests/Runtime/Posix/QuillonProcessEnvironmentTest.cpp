#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>

#include "QuillonCore/Runtime/Posix/QuillonProcessEnvironment.h"

namespace quillon {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;

TEST(QuillonProcessEnvironmentTest, APrivilegedProcessHandsOnNothing) {
  const auto expected = geteuid() == 0 ? QuillonProcessEnvironment::minimal : QuillonProcessEnvironment::inherited;

  EXPECT_EQ(environmentForOwnPrivileges(), expected);
}

TEST(QuillonProcessEnvironmentTest, MinimalHasTwoFixedVariables) {
  EXPECT_THAT(environmentVariables(QuillonProcessEnvironment::minimal),
              ElementsAre("PATH=/usr/bin:/bin", "LANG=C.UTF-8"));
}

TEST(QuillonProcessEnvironmentTest, InheritedHasThisProcesssVariables) {
  setenv("QUILLON_TEST_VARIABLE", "a=b", 1);

  const auto variables = environmentVariables(QuillonProcessEnvironment::inherited);

  unsetenv("QUILLON_TEST_VARIABLE");
  EXPECT_THAT(variables, Contains("QUILLON_TEST_VARIABLE=a=b"));
}

TEST(QuillonProcessEnvironmentTest, PointersEndWithNull) {
  std::vector<std::string> strings = {"a", "b"};

  EXPECT_THAT(pointersToStrings(strings), ElementsAre(strings[0].data(), strings[1].data(), nullptr));
}

}  // namespace
}  // namespace quillon
