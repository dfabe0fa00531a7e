#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <condition_variable>
#include <csignal>
#include <mutex>
#include <stop_token>
#include <utility>

#include "QuillonTool/Update/Posix/InterruptSignals.h"
#include "QuillonUpdatesAppKitUI/Presentation/Terminal/Posix/VeskUpdateTerminalKeyMode.h"
#include "QuillonUpdatesAppKitUITests/Presentation/Terminal/Posix/PseudoTerminal.h"

namespace quillon {
namespace {

void waitForStop(std::stop_token stopToken) {
  std::mutex lock;
  std::condition_variable_any never;
  std::unique_lock guard(lock);
  never.wait(guard, std::move(stopToken), [] { return false; });
}

/// The signal that ends a process which does `body`; 0 when none does.
int signalThatEnds(void (*body)()) {
  const pid_t child = fork();
  if (child == 0) {
    body();
    _exit(0);
  }
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
}

TEST(InterruptSignalsTest, TheFirstSignalRequestsAStop) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    std::stop_source source;
    const InterruptSignals signals(source);

    raise(signal);

    waitForStop(source.get_token());
    EXPECT_TRUE(source.stop_requested());
  }
}

TEST(InterruptSignalsTest, WithoutASignalNothingIsRequested) {
  std::stop_source source;
  { const InterruptSignals signals(source); }

  EXPECT_FALSE(source.stop_requested());
}

TEST(InterruptSignalsTest, TheFirstSignalPutsTheTerminalBack) {
  const testing::PseudoTerminal terminal;
  const InterruptSignals signals((std::stop_source()));
  const VeskUpdateTerminalKeyMode mode(terminal.program);
  EXPECT_FALSE(terminal.readsLines());

  raise(SIGINT);

  EXPECT_TRUE(terminal.readsLines());
}

TEST(InterruptSignalsTest, TheSecondSignalEndsTheProcess) {
  const int signal = signalThatEnds([] {
    const InterruptSignals signals((std::stop_source()));
    raise(SIGINT);
    raise(SIGINT);
  });

  EXPECT_EQ(signal, SIGINT);
}

TEST(InterruptSignalsTest, AfterwardsSignalsHaveTheirUsualEffect) {
  const int signal = signalThatEnds([] {
    { const InterruptSignals signals((std::stop_source())); }
    raise(SIGTERM);
  });

  EXPECT_EQ(signal, SIGTERM);
}

TEST(InterruptSignalsTest, WhatIsIgnoredStaysIgnored) {
  const auto before = std::signal(SIGHUP, SIG_IGN);
  {
    std::stop_source source;
    const InterruptSignals signals(source);

    raise(SIGHUP);

    EXPECT_FALSE(source.stop_requested());
  }
  EXPECT_EQ(std::signal(SIGHUP, before), SIG_IGN);
}

}  // namespace
}  // namespace quillon
