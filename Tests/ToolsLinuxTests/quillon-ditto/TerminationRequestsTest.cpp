#include <gtest/gtest.h>
#include <unistd.h>

#include <condition_variable>
#include <csignal>
#include <future>
#include <mutex>
#include <stop_token>

#include "TerminationRequests.h"

namespace quillon {
namespace {

TEST(TerminationRequestsTest, ASignalBecomesARequestToStop) {
  TerminationRequests requests;
  std::mutex lock;
  std::condition_variable_any wake;

  kill(getpid(), SIGTERM);

  std::unique_lock guard(lock);
  std::stop_callback notify(requests.stopToken(), [&] { wake.notify_all(); });
  EXPECT_FALSE(wake.wait(guard, requests.stopToken(), [] { return false; }));
  EXPECT_TRUE(requests.stopToken().stop_requested());
}

TEST(TerminationRequestsTest, SignalsThatTheStarterIgnoresStayIgnored) {
  struct sigaction ignore {};
  struct sigaction before {};
  ignore.sa_handler = SIG_IGN;
  sigaction(SIGHUP, &ignore, &before);
  {
    TerminationRequests requests;
    kill(getpid(), SIGHUP);
    EXPECT_FALSE(requests.stopToken().stop_requested());
  }
  sigaction(SIGHUP, &before, nullptr);
}

TEST(TerminationRequestsTest, WithoutASignalNobodyDies) {
  TerminationRequests requests;

  requests.dieOfSignal();

  EXPECT_FALSE(requests.stopToken().stop_requested());
}

TEST(TerminationRequestsTest, AProcessDiesOfTheSignalThatCame) {
  EXPECT_EXIT(
      {
        (void)signal(SIGINT, SIG_DFL);  // a job in the background is started with it ignored
        TerminationRequests requests;
        std::promise<void> stopped;
        const std::stop_callback callback(requests.stopToken(), [&] { stopped.set_value(); });
        kill(getpid(), SIGINT);
        stopped.get_future().wait();
        requests.dieOfSignal();
      },
      ::testing::KilledBySignal(SIGINT), "");
}

}  // namespace
}  // namespace quillon
