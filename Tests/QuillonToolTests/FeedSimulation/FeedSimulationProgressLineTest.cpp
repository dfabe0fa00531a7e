#include <gtest/gtest.h>

#include <string>

#include "QuillonTool/FeedSimulation/FeedSimulationProgressLine.h"

namespace quillon {
namespace {

class FeedSimulationProgressLineTest : public ::testing::Test {
 protected:
  std::uint64_t now_ = 5;
  std::string written_;
  FeedSimulationProgressLine line_{[this] { return now_; }, [this](std::string_view text) { written_ += text; }};
};

TEST_F(FeedSimulationProgressLineTest, WhatIsDoneSoonShowsNothing) {
  now_ += 999'999'999;
  line_.show(1, 2);
  line_.clear();

  EXPECT_EQ(written_, "");
}

TEST_F(FeedSimulationProgressLineTest, AfterASecondOneLineIsWrittenOverAndOver) {
  now_ += 1'000'000'000;
  line_.show(1, 4);
  line_.show(3, 4);
  line_.clear();

  EXPECT_EQ(written_, "\rSimulating: 25 %\rSimulating: 75 %\r\033[K");
}

}  // namespace
}  // namespace quillon
