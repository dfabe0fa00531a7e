#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <stdexcept>
#include <string>
#include <vector>

#include "QuillonCore/Runtime/QuillonParallelFor.h"

namespace quillon {
namespace {

TEST(QuillonParallelForTest, EveryIndexIsVisitedOnce) {
  std::vector<std::atomic<int>> visits(1000);

  quillonParallelFor(visits.size(), [&](std::size_t index, std::size_t) { ++visits[index]; });

  EXPECT_TRUE(std::ranges::all_of(visits, [](const std::atomic<int>& count) { return count == 1; }));
}

TEST(QuillonParallelForTest, NothingIsCalledForNoItems) {
  quillonParallelFor(0, [](std::size_t, std::size_t) { FAIL(); });
}

TEST(QuillonParallelForTest, WorkerNumbersAreBelowTheWorkerCountAndNeverSharedAtOnce) {
  const std::size_t workers = quillonParallelForWorkerCount(500);
  std::vector<std::atomic<bool>> busy(workers);
  std::atomic<bool> shared = false;

  quillonParallelFor(500, [&](std::size_t, std::size_t worker) {
    ASSERT_LT(worker, workers);
    if (busy[worker].exchange(true)) shared = true;
    busy[worker] = false;
  });

  EXPECT_FALSE(shared);
}

TEST(QuillonParallelForTest, ErrorOfTheLowestFailingIndexIsThrownOn) {
  for (int repetition = 0; repetition < 50; ++repetition) {
    try {
      quillonParallelFor(200, [](std::size_t index, std::size_t) {
        if (index >= 70) throw std::runtime_error(std::to_string(index));
      });
      FAIL() << "nothing was thrown";
    } catch (const std::runtime_error& error) {
      EXPECT_STREQ(error.what(), "70");
    }
  }
}

TEST(QuillonParallelForTest, NoIndexIsHandedOutAfterAFailure) {
  std::atomic<std::size_t> calls = 0;

  EXPECT_THROW(quillonParallelFor(100'000,
                                  [&](std::size_t, std::size_t) {
                                    ++calls;
                                    throw std::runtime_error("first");
                                  }),
               std::runtime_error);

  EXPECT_LE(calls, quillonParallelForWorkerCount(100'000));
}

}  // namespace
}  // namespace quillon
