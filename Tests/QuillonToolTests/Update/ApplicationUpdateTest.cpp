#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuillonToolTests/Update/UpdateCommandWorld.h"

namespace quillon {
namespace {

using ::testing::EndsWith;

TEST(ApplicationUpdateTest, EverythingThatWasSaidIsPrintedBeforeTheRunReturns) {
  testing::UpdateCommandWorld world;

  const UpdateOutcome outcome = world.run();

  EXPECT_EQ(outcome.result, UpdateOutcome::Result::launched);
  EXPECT_THAT(world.printed(), EndsWith("and starts Example.\n"));
}

TEST(ApplicationUpdateTest, OneObjectRunsMoreThanOnce) {
  testing::UpdateCommandWorld world;
  world.options.onlyChecks = true;
  const ApplicationUpdate update(world.options, world.services());

  EXPECT_EQ(update.run(std::stop_source()).result, UpdateOutcome::Result::offered);
  EXPECT_EQ(update.run(std::stop_source()).result, UpdateOutcome::Result::offered);
}

}  // namespace
}  // namespace quillon
