#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <sstream>
#include <string>
#include <utility>

#include "QuillonUpdatesAppKitUI/Presentation/Terminal/Posix/VeskUpdateTerminalKeys.h"
#include "QuillonUpdatesAppKitUITests/Presentation/Terminal/Posix/JobControl.h"
#include "QuillonUpdatesAppKitUITests/Presentation/Terminal/Posix/PseudoTerminal.h"
#include "Support/ManualMainThread.h"

namespace quillon {
namespace {

using testing::PseudoTerminal;
using testing::Shell;

// How long nothing has to follow the Escape key.
constexpr std::chrono::milliseconds kAtOnce(0);
constexpr std::chrono::milliseconds kWithoutEnd(-1);

/// A script whose writer is the test. Made before the keys that are read from it: nothing may close what a thread
/// reads.
class ScriptPipe {
 public:
  ScriptPipe() { EXPECT_EQ(pipe(ends_.data()), 0); }
  ~ScriptPipe() {
    close(ends_[0]);
    closeWriting();
  }
  ScriptPipe(const ScriptPipe&) = delete;
  ScriptPipe& operator=(const ScriptPipe&) = delete;

  [[nodiscard]] int reading() const { return ends_[0]; }
  [[nodiscard]] int writing() const { return ends_[1]; }
  void closeWriting() {
    if (ends_[1] >= 0) close(std::exchange(ends_[1], -1));
  }

 private:
  std::array<int, 2> ends_{-1, -1};
};

void type(int descriptor, const std::string& text) {
  ASSERT_EQ(write(descriptor, text.data(), text.size()), static_cast<ssize_t>(text.size()));
}

class VeskUpdateTerminalKeysTest : public ::testing::Test {
 protected:
  [[nodiscard]] std::shared_ptr<VeskUpdateTerminal::Question> ask(const std::string& keys) {
    return terminal_->ask({{.keys = keys, .title = "Choice", .action = [this, keys] { chosen_ += keys.front(); }}});
  }
  void runKeys(int count) {
    for (int i = 0; i < count; ++i) mainThread_->runNext();
  }

  std::ostringstream output_;
  std::string chosen_;
  const std::shared_ptr<VeskUpdateTerminal> terminal_ =
      std::make_shared<VeskUpdateTerminal>(output_, VeskUpdateTerminal::Style{});
  const std::shared_ptr<testing::ManualMainThread> mainThread_ = std::make_shared<testing::ManualMainThread>();
};

TEST_F(VeskUpdateTerminalKeysTest, OfAPipeTheFirstCharacterOfEachLineIsAKeyAndItsEndTheEndOfInput) {
  ScriptPipe script;
  const VeskUpdateTerminalKeys keys(script.reading(), terminal_, mainThread_);
  const auto one = ask("1");
  const auto all = ask("2\n\x04");

  type(script.writing(), "2 please\n\n");
  script.closeWriting();
  runKeys(3);

  EXPECT_EQ(chosen_, "222");
  EXPECT_TRUE(terminal_->didInputEnd());
}

TEST_F(VeskUpdateTerminalKeysTest, AnEmptyLineOfAScriptIsTheReturnKeyWhateverLinesEndWith) {
  ScriptPipe script;
  const VeskUpdateTerminalKeys keys(script.reading(), terminal_, mainThread_);
  const auto one = ask("1");
  const auto all = ask("2\n");

  type(script.writing(), "\r\n2\r\n\n");
  runKeys(3);

  EXPECT_EQ(chosen_, "222");
}

TEST_F(VeskUpdateTerminalKeysTest, ALineOfAScriptWaitsForItsQuestion) {
  ScriptPipe script;
  const VeskUpdateTerminalKeys keys(script.reading(), terminal_, mainThread_);
  type(script.writing(), "1\nx\n2\n3");
  script.closeWriting();

  auto question = ask("1");
  runKeys(1);
  question = ask("2");
  runKeys(2);
  question = ask("3\x04");
  runKeys(2);

  EXPECT_EQ(chosen_, "1233");
  EXPECT_EQ(mainThread_->waitingCount(), 0U);
}

TEST_F(VeskUpdateTerminalKeysTest, OfATerminalEachKeyCountsWithoutEchoWhileAQuestionIsOpen) {
  const PseudoTerminal pseudo;
  const VeskUpdateTerminalKeys keys(pseudo.program, terminal_, mainThread_);
  EXPECT_TRUE(pseudo.readsLines());
  auto question = ask("1");
  EXPECT_FALSE(pseudo.readsLines());

  pseudo.type("1");
  runKeys(1);
  question.reset();

  EXPECT_EQ(chosen_, "1");
  EXPECT_TRUE(pseudo.readsLines());
}

TEST_F(VeskUpdateTerminalKeysTest, AKeyThatWasTypedForOneQuestionDoesNotAnswerTheNext) {
  const PseudoTerminal pseudo;
  const VeskUpdateTerminalKeys keys(pseudo.program, terminal_, mainThread_);
  std::shared_ptr<VeskUpdateTerminal::Question> first;
  std::shared_ptr<VeskUpdateTerminal::Question> second;
  first = terminal_->ask({{.keys = "1", .title = "First", .action = [&] {
                             chosen_ += '1';
                             second = ask("2\n");
                             first.reset();
                           }}});

  pseudo.type("1\n");
  mainThread_->waitForWaiting(2);  // the thread has read both
  runKeys(2);
  EXPECT_EQ(chosen_, "1");

  pseudo.type("\n");
  runKeys(1);
  EXPECT_EQ(chosen_, "12");
}

TEST_F(VeskUpdateTerminalKeysTest, WhatWasTypedBeforeAQuestionIsNoAnswer) {
  const PseudoTerminal pseudo;
  pseudo.type("1\n");
  pseudo.waitForInput();
  const VeskUpdateTerminalKeys keys(pseudo.program, terminal_, mainThread_);

  const auto question = ask("1");
  pseudo.type("?");
  runKeys(1);

  EXPECT_EQ(chosen_, "");
  EXPECT_EQ(mainThread_->waitingCount(), 0U);
}

TEST_F(VeskUpdateTerminalKeysTest, WhatIsTypedWhileNoQuestionIsOpenIsLeftForTheShell) {
  const PseudoTerminal pseudo;
  const VeskUpdateTerminalKeys keys(pseudo.program, terminal_, mainThread_);
  auto question = ask("1");
  pseudo.type("1");
  runKeys(1);
  question.reset();

  pseudo.type("ls\n");
  pseudo.waitForInput();
  std::array<char, 8> line{};

  EXPECT_EQ(read(pseudo.program, line.data(), line.size()), 3);
  EXPECT_STREQ(line.data(), "ls\n");
}

TEST_F(VeskUpdateTerminalKeysTest, AJobInTheBackgroundIsNotStoppedByWhatIsTypedIntoTheShell) {
  const PseudoTerminal pseudo;

  const int line = Shell::run(pseudo, [this](Shell& shell) {
    std::array<int, 2> end{};
    shell.require(pipe(end.data()) == 0, __LINE__);
    shell.takeTerminal();
    shell.start(false, [this, &end](Shell& itsShell) {
      const VeskUpdateTerminalKeys keys(itsShell.terminal.program, terminal_, mainThread_);
      itsShell.report();
      char byte = 0;
      static_cast<void>(read(end[0], &byte, 1));
    });
    shell.waitForReport();
    shell.terminal.type("ls\n");
    std::array<char, 8> typed{};
    shell.require(read(shell.terminal.program, typed.data(), typed.size()) == 3, __LINE__);
    shell.require(write(end[1], "", 1) == 1, __LINE__);
    shell.require(shell.ends(), __LINE__);
  });

  EXPECT_EQ(line, 0);
}

TEST_F(VeskUpdateTerminalKeysTest, ArrowsAndFunctionKeysPressNothingThoughTheyComeInPieces) {
  const PseudoTerminal pseudo;
  const VeskUpdateTerminalKeys keys(pseudo.program, terminal_, mainThread_, kWithoutEnd);
  const auto question = ask("1\x1b");

  for (const std::string piece : {"y\x1b", "[Ay\x1b[", "1;5Cy\x1b", "OPy"}) {
    pseudo.type(piece);
    mainThread_->waitForWaiting(1);  // the thread has read it
    runKeys(1);
  }

  EXPECT_EQ(chosen_, "");
  EXPECT_EQ(mainThread_->waitingCount(), 0U);
}

TEST_F(VeskUpdateTerminalKeysTest, EscapeIsAKeyWhenNothingFollows) {
  const PseudoTerminal pseudo;
  const VeskUpdateTerminalKeys keys(pseudo.program, terminal_, mainThread_, kAtOnce);
  const auto question = ask("2\x1b");

  pseudo.type("\x1b");
  runKeys(1);

  EXPECT_EQ(chosen_, "2");
}

TEST_F(VeskUpdateTerminalKeysTest, WhoeverStopsReadingPutsTheTerminalBack) {
  const PseudoTerminal pseudo;
  std::shared_ptr<VeskUpdateTerminal::Question> question;
  {
    const VeskUpdateTerminalKeys keys(pseudo.program, terminal_, mainThread_);
    question = ask("1");
    EXPECT_FALSE(pseudo.readsLines());
  }

  EXPECT_TRUE(pseudo.readsLines());
}

TEST_F(VeskUpdateTerminalKeysTest, ATerminalIsDrawnInAtItsWidthAndAPipeIsNot) {
  const PseudoTerminal pseudo;
  setenv("TERM", "xterm", 1);
  ScriptPipe script;

  EXPECT_TRUE(terminalStyle(pseudo.program).drawsInPlace);
  EXPECT_EQ(terminalStyle(pseudo.program).columns, 132U);
  EXPECT_FALSE(terminalStyle(script.writing()).drawsInPlace);
  EXPECT_EQ(terminalStyle(script.writing()).columns, 80U);
}

TEST_F(VeskUpdateTerminalKeysTest, AClosedInputHasEnded) {
  const int closed = dup(STDERR_FILENO);
  close(closed);
  const VeskUpdateTerminalKeys keys(closed, terminal_, mainThread_);  // which opens descriptors of its own

  const auto question = ask("1\x04");
  runKeys(1);

  EXPECT_EQ(chosen_, "1");
}

}  // namespace
}  // namespace quillon
