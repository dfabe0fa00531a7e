#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <sstream>
#include <string>
#include <utility>

#include "QuillonUpdatesAppKitUI/Presentation/Terminal/Posix/VeskUpdateTerminalKeys.h"
#include "Support/ManualMainThread.h"

namespace quillon {
namespace {

// How long nothing has to follow the Escape key.
constexpr std::chrono::milliseconds kAtOnce(0);
constexpr std::chrono::milliseconds kWithoutEnd(-1);

/// A terminal whose user is the test.
class PseudoTerminal {
 public:
  PseudoTerminal() : user(posix_openpt(O_RDWR | O_NOCTTY)) {
    grantpt(user);
    unlockpt(user);
    program = open(ptsname(user), O_RDWR | O_NOCTTY);
    const winsize size{.ws_row = 40, .ws_col = 132, .ws_xpixel = 0, .ws_ypixel = 0};
    ioctl(program, TIOCSWINSZ, &size);
  }
  ~PseudoTerminal() {
    close(program);
    close(user);
  }
  PseudoTerminal(const PseudoTerminal&) = delete;
  PseudoTerminal& operator=(const PseudoTerminal&) = delete;

  [[nodiscard]] bool echoes() const {
    termios settings{};
    tcgetattr(program, &settings);
    return (settings.c_lflag & ECHO) != 0;
  }

  /// Returns when what the user has typed is there to be read.
  void waitForInput() const {
    pollfd source{program, POLLIN, 0};
    ASSERT_EQ(poll(&source, 1, -1), 1);
  }

  int user;
  int program = -1;
};

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
  EXPECT_TRUE(pseudo.echoes());
  auto question = ask("1");
  EXPECT_FALSE(pseudo.echoes());

  type(pseudo.user, "1");
  runKeys(1);
  question.reset();

  EXPECT_EQ(chosen_, "1");
  EXPECT_TRUE(pseudo.echoes());
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

  type(pseudo.user, "1\n");
  mainThread_->waitForWaiting(2);  // the thread has read both
  runKeys(2);
  EXPECT_EQ(chosen_, "1");

  type(pseudo.user, "\n");
  runKeys(1);
  EXPECT_EQ(chosen_, "12");
}

TEST_F(VeskUpdateTerminalKeysTest, WhatWasTypedBeforeAQuestionIsNoAnswer) {
  const PseudoTerminal pseudo;
  type(pseudo.user, "1\n");
  pseudo.waitForInput();
  const VeskUpdateTerminalKeys keys(pseudo.program, terminal_, mainThread_);

  const auto question = ask("1");
  type(pseudo.user, "?");
  runKeys(1);

  EXPECT_EQ(chosen_, "");
  EXPECT_EQ(mainThread_->waitingCount(), 0U);
}

TEST_F(VeskUpdateTerminalKeysTest, WhatIsTypedWhileNoQuestionIsOpenIsLeftForTheShell) {
  const PseudoTerminal pseudo;
  const VeskUpdateTerminalKeys keys(pseudo.program, terminal_, mainThread_);
  auto question = ask("1");
  type(pseudo.user, "1");
  runKeys(1);
  question.reset();

  type(pseudo.user, "ls\n");
  pseudo.waitForInput();
  std::array<char, 8> line{};

  EXPECT_EQ(read(pseudo.program, line.data(), line.size()), 3);
  EXPECT_STREQ(line.data(), "ls\n");
}

TEST_F(VeskUpdateTerminalKeysTest, ArrowsAndFunctionKeysPressNothingThoughTheyComeInPieces) {
  const PseudoTerminal pseudo;
  const VeskUpdateTerminalKeys keys(pseudo.program, terminal_, mainThread_, kWithoutEnd);
  const auto question = ask("1\x1b");

  for (const std::string piece : {"y\x1b", "[Ay\x1b[", "1;5Cy\x1b", "OPy"}) {
    type(pseudo.user, piece);
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

  type(pseudo.user, "\x1b");
  runKeys(1);

  EXPECT_EQ(chosen_, "2");
}

TEST_F(VeskUpdateTerminalKeysTest, WhoeverStopsReadingPutsTheTerminalBack) {
  const PseudoTerminal pseudo;
  std::shared_ptr<VeskUpdateTerminal::Question> question;
  {
    const VeskUpdateTerminalKeys keys(pseudo.program, terminal_, mainThread_);
    question = ask("1");
    EXPECT_FALSE(pseudo.echoes());
  }

  EXPECT_TRUE(pseudo.echoes());
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
