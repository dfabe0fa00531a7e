#include <gtest/gtest.h>

#include "QuillonTool/FeedSimulation/FeedSimulationResult.h"

namespace quillon {
namespace {

using Result = FeedSimulationResult;

TEST(FeedSimulationResultTest, FiguresAddUp) {
  Result::Offers offers{.byDay = {1, 2},
                        .byState = {{0, 3}},
                        .byOSVersion = {{1, 3}},
                        .byLanguage = {{0, 3}},
                        .bySKU = {{0, 3}},
                        .byStaggerGroup = {{4, 3}},
                        .toBetaTesters = 1};
  Result first{.hours = {{.checks = 5, .downloads = 3, .bytes = 30}},
               .offersByEntry = {{7, offers}},
               .installsByState = {{0, {9, 8}}}};
  const Result second{.hours = {{.checks = 1, .downloads = 1, .bytes = 10}},
                      .offersByEntry = {{7, offers}, {8, offers}},
                      .installsByState = {{0, {1, 1}}, {2, {4, 4}}}};

  first.add(second);

  const Result::Offers twice{.byDay = {2, 4},
                             .byState = {{0, 6}},
                             .byOSVersion = {{1, 6}},
                             .byLanguage = {{0, 6}},
                             .bySKU = {{0, 6}},
                             .byStaggerGroup = {{4, 6}},
                             .toBetaTesters = 2};
  EXPECT_EQ(first, (Result{.hours = {{.checks = 6, .downloads = 4, .bytes = 40}},
                           .offersByEntry = {{7, twice}, {8, offers}},
                           .installsByState = {{0, {10, 9}}, {2, {4, 4}}}}));
  EXPECT_EQ(twice.total(), 6);
}

TEST(FeedSimulationResultTest, AnEmptyResultChangesNothing) {
  Result result{
      .hours = {{.checks = 5, .downloads = 3, .bytes = 30}}, .offersByEntry = {}, .installsByState = {{0, {9}}}};
  const Result before = result;

  result.add({});
  Result sum;
  sum.add(before);

  EXPECT_EQ(result, before);
  EXPECT_EQ(sum, before);
}

}  // namespace
}  // namespace quillon
