#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>
#include <utility>

#include "QuillonUpdatesAppKitUI/Presentation/Terminal/Posix/VeskUpdateTerminalKeyMode.h"
#include "QuillonUpdatesAppKitUITests/Presentation/Terminal/Posix/JobControl.h"
#include "QuillonUpdatesAppKitUITests/Presentation/Terminal/Posix/PseudoTerminal.h"

namespace quillon {
namespace {

using testing::PseudoTerminal;
using testing::Shell;

constexpr const char* kStopKey = "\x1a";

/// The signal that ends a process which does `body`; 0 when none does.
int signalThatEnds(const std::function<void()>& body) {
  const pid_t child = fork();
  if (child == 0) {
    body();
    _exit(0);
  }
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
}

void (*handlerOf(int signal))(int) {
  struct sigaction present {};
  sigaction(signal, nullptr, &present);
  return present.sa_handler;
}

void handlerOfTheHost(int /*signal*/) {}

/// Reports each time that it is in key mode, until it is ended.
void askInForeground(Shell& shell) {
  const VeskUpdateTerminalKeyMode mode(shell.terminal.program);
  sigset_t stop;
  sigset_t before;
  sigemptyset(&stop);
  sigaddset(&stop, SIGTSTP);
  sigprocmask(SIG_BLOCK, &stop, &before);
  for (;;) {
    shell.report();
    sigsuspend(&before);  // returns once it was stopped and continued
  }
}

TEST(VeskUpdateTerminalKeyModeTest, TheTerminalReadsKeysMeanwhileAndLinesAfterwards) {
  const PseudoTerminal terminal;
  {
    const VeskUpdateTerminalKeyMode mode(terminal.program);
    EXPECT_FALSE(terminal.readsLines());
    { const VeskUpdateTerminalKeyMode another(terminal.program); }
    EXPECT_FALSE(terminal.readsLines());
  }

  EXPECT_TRUE(terminal.readsLines());
}

TEST(VeskUpdateTerminalKeyModeTest, ASignalThatEndsTheProcessPutsTheTerminalBack) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
    const PseudoTerminal terminal;

    const int ending = signalThatEnds([&] {
      const VeskUpdateTerminalKeyMode mode(terminal.program);
      if (!terminal.readsLines()) raise(signal);
    });

    EXPECT_EQ(ending, signal);
    EXPECT_TRUE(terminal.readsLines());
  }
}

TEST(VeskUpdateTerminalKeyModeTest, AForkedChildThatIsEndedLeavesTheTerminalOfItsParent) {
  const PseudoTerminal terminal;
  const VeskUpdateTerminalKeyMode mode(terminal.program);

  EXPECT_EQ(signalThatEnds([] { raise(SIGTERM); }), SIGTERM);

  EXPECT_FALSE(terminal.readsLines());
}

TEST(VeskUpdateTerminalKeyModeTest, AHostKeepsItsHandlersAndWhatItIgnores) {
  const PseudoTerminal terminal;
  const auto interrupt = std::signal(SIGINT, handlerOfTheHost);
  const auto stop = std::signal(SIGTSTP, SIG_IGN);
  {
    const VeskUpdateTerminalKeyMode mode(terminal.program);
    EXPECT_EQ(handlerOf(SIGINT), handlerOfTheHost);
    EXPECT_EQ(handlerOf(SIGTSTP), SIG_IGN);
    EXPECT_NE(handlerOf(SIGTERM), SIG_DFL);
  }

  EXPECT_EQ(std::signal(SIGINT, interrupt), handlerOfTheHost);
  EXPECT_EQ(std::signal(SIGTSTP, stop), SIG_IGN);
  for (const int signal : {SIGTERM, SIGHUP, SIGQUIT, SIGCONT}) EXPECT_EQ(handlerOf(signal), SIG_DFL);
}

TEST(VeskUpdateTerminalKeyModeTest, WhatAHostsHandlerPutsBackStaysSo) {
  const PseudoTerminal terminal;
  const VeskUpdateTerminalKeyMode mode(terminal.program);

  VeskUpdateTerminalKeyMode::putBack();
  VeskUpdateTerminalKeyMode::putBack();
  raise(SIGCONT);

  EXPECT_TRUE(terminal.readsLines());
}

TEST(VeskUpdateTerminalKeyModeTest, AJobThatIsStoppedPutsTheTerminalBackAndComesBackInKeyMode) {
  const PseudoTerminal terminal;

  const int line = Shell::run(terminal, [](Shell& shell) {
    shell.start(true, askInForeground);
    for (int time = 0; time < 2; ++time) {
      shell.waitForReport();
      shell.require(!shell.terminal.readsLines(), __LINE__);
      shell.terminal.type(kStopKey);
      shell.require(shell.stopsBy(SIGTSTP), __LINE__);
      shell.require(shell.terminal.readsLines(), __LINE__);
      shell.takeTerminal();
      shell.continueInForeground();
    }
    shell.waitForReport();
    shell.require(!shell.terminal.readsLines(), __LINE__);
    shell.signal(SIGTERM);
    shell.require(shell.endsBy(SIGTERM), __LINE__);
    shell.require(shell.terminal.readsLines(), __LINE__);
  });

  EXPECT_EQ(line, 0);
}

TEST(VeskUpdateTerminalKeyModeTest, AStoppedJobThatIsEndedLeavesTheTerminalToItsShell) {
  const PseudoTerminal terminal;

  const int line = Shell::run(terminal, [](Shell& shell) {
    shell.start(true, askInForeground);
    shell.waitForReport();
    shell.terminal.type(kStopKey);
    shell.require(shell.stopsBy(SIGTSTP), __LINE__);
    shell.takeTerminal();
    shell.terminal.setEcho(false);
    shell.signal(SIGTERM);
    shell.signal(SIGCONT);
    shell.require(shell.endsBy(SIGTERM), __LINE__);
    shell.require(!shell.terminal.readsLines(), __LINE__);
    shell.terminal.setEcho(true);
    shell.require(shell.terminal.readsLines(), __LINE__);
  });

  EXPECT_EQ(line, 0);
}

TEST(VeskUpdateTerminalKeyModeTest, AJobThatNobodyCouldContinueGoesOnInKeyMode) {
  const PseudoTerminal terminal;

  const int line = Shell::run(terminal, [](Shell& shell) {
    const VeskUpdateTerminalKeyMode mode(shell.terminal.program);
    raise(SIGTSTP);
    shell.require(!shell.terminal.readsLines(), __LINE__);
  });

  EXPECT_EQ(line, 0);
}

TEST(VeskUpdateTerminalKeyModeTest, AJobInTheBackgroundWaitsForTheTerminalAndKeepsNoSettingsOfItsShell) {
  const PseudoTerminal terminal;

  const int line = Shell::run(terminal, [](Shell& shell) {
    shell.takeTerminal();
    shell.terminal.setEcho(false);
    shell.start(false, [](Shell& itsShell) {
      const VeskUpdateTerminalKeyMode mode(itsShell.terminal.program);
      itsShell.report();
    });
    shell.require(shell.stopsBy(SIGTTOU), __LINE__);
    shell.terminal.setEcho(true);
    shell.continueInForeground();
    shell.waitForReport();
    shell.require(shell.ends(), __LINE__);
    shell.require(shell.terminal.readsLines(), __LINE__);
  });

  EXPECT_EQ(line, 0);
}

}  // namespace
}  // namespace quillon
