#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <exception>
#include <string>
#include <thread>
#include <vector>

#include "QuillonCore/Values/QuillonError.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateReadyInstallConfirmation.h"

namespace quillon {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::string nameOf(const std::exception_ptr& error) {
  if (!error) return "confirmed";
  try {
    std::rethrow_exception(error);
  } catch (const QuillonCancellationError&) {
    return "cancelled";
  } catch (const QuillonError& other) {
    return other.description();
  }
}

class VeskUpdateReadyInstallConfirmationTest : public ::testing::Test {
 protected:
  void setContinuation() {
    confirmation_.setContinuation([this](const std::exception_ptr& error) { ends_.push_back(nameOf(error)); });
  }
  void cancel() { confirmation_.resolve(std::make_exception_ptr(QuillonCancellationError())); }

  std::vector<std::string> ends_;
  VeskUpdateReadyInstallConfirmation confirmation_;
};

TEST_F(VeskUpdateReadyInstallConfirmationTest, APressEndsTheWaitNormally) {
  setContinuation();
  EXPECT_THAT(ends_, IsEmpty());

  confirmation_.resolve();

  EXPECT_THAT(ends_, ElementsAre("confirmed"));
}

TEST_F(VeskUpdateReadyInstallConfirmationTest, AnErrorEndsTheWaitWithThatError) {
  setContinuation();

  confirmation_.resolve(std::make_exception_ptr(QuillonError("went wrong")));

  EXPECT_THAT(ends_, ElementsAre("went wrong"));
}

TEST_F(VeskUpdateReadyInstallConfirmationTest, PressingTwiceResolvesOnce) {
  setContinuation();

  confirmation_.resolve();
  confirmation_.resolve();

  EXPECT_THAT(ends_, ElementsAre("confirmed"));
}

TEST_F(VeskUpdateReadyInstallConfirmationTest, ACancellationAfterThePressChangesNothing) {
  setContinuation();

  confirmation_.resolve();
  cancel();

  EXPECT_THAT(ends_, ElementsAre("confirmed"));
}

TEST_F(VeskUpdateReadyInstallConfirmationTest, APressAfterTheCancellationChangesNothing) {
  setContinuation();

  cancel();
  confirmation_.resolve();

  EXPECT_THAT(ends_, ElementsAre("cancelled"));
}

TEST_F(VeskUpdateReadyInstallConfirmationTest, ACancellationBeforeTheWaitEndsItAsSoonAsItBegins) {
  cancel();
  EXPECT_THAT(ends_, IsEmpty());

  setContinuation();

  EXPECT_THAT(ends_, ElementsAre("cancelled"));
}

TEST_F(VeskUpdateReadyInstallConfirmationTest, WhateverIsResolvedBeforeTheWaitCountsAsACancellation) {
  confirmation_.resolve();

  setContinuation();

  EXPECT_THAT(ends_, ElementsAre("cancelled"));
}

TEST_F(VeskUpdateReadyInstallConfirmationTest, TheContinuationMayResolveAgain) {
  int calls = 0;
  confirmation_.setContinuation([&](const std::exception_ptr&) {
    ++calls;
    confirmation_.resolve();
  });

  confirmation_.resolve();

  EXPECT_EQ(calls, 1);
}

TEST(VeskUpdateReadyInstallConfirmationStressTest, PressCancellationAndWaitThatRaceEndTheWaitOnce) {
  constexpr int kRounds = 300;
  std::vector<VeskUpdateReadyInstallConfirmation> confirmations(kRounds);
  std::vector<std::atomic<int>> ends(kRounds);
  std::barrier gate(3);
  const auto eachRound = [&](auto action) {
    for (int round = 0; round < kRounds; ++round) {
      gate.arrive_and_wait();
      action(static_cast<std::size_t>(round));
    }
  };
  {
    const std::jthread cancelling([&] {
      eachRound([&](std::size_t round) {
        confirmations[round].resolve(std::make_exception_ptr(QuillonCancellationError()));
      });
    });
    const std::jthread pressing([&] { eachRound([&](std::size_t round) { confirmations[round].resolve(); }); });
    eachRound([&](std::size_t round) {
      confirmations[round].setContinuation([&ends, round](const std::exception_ptr&) { ++ends[round]; });
    });
  }

  for (const std::atomic<int>& count : ends) EXPECT_EQ(count, 1);
}

}  // namespace
}  // namespace quillon
