#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

namespace quillon::testing {

/// A terminal whose user is the test.
class PseudoTerminal {
 public:
  PseudoTerminal() : user(posix_openpt(O_RDWR | O_NOCTTY)) {
    grantpt(user);
    unlockpt(user);
    program = open(ptsname(user), O_RDWR | O_NOCTTY);
    setColumns(132);
  }
  ~PseudoTerminal() {
    close(program);
    close(user);
  }
  PseudoTerminal(const PseudoTerminal&) = delete;
  PseudoTerminal& operator=(const PseudoTerminal&) = delete;

  void setColumns(unsigned short columns) const {
    const winsize size{.ws_row = 40, .ws_col = columns, .ws_xpixel = 0, .ws_ypixel = 0};
    ioctl(program, TIOCSWINSZ, &size);
  }
  void type(const std::string& text) const {
    EXPECT_EQ(write(user, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }
  /// Returns when what the user has typed is there to be read.
  void waitForInput() const {
    pollfd source{program, POLLIN, 0};
    EXPECT_EQ(poll(&source, 1, -1), 1);
  }

  /// Whether it echoes what is typed and waits for whole lines, as it does at first.
  [[nodiscard]] bool readsLines() const {
    constexpr tcflag_t kFlags = ICANON | ECHO;
    return (settings().c_lflag & kFlags) == kFlags;
  }
  /// As line editors of shells do.
  void setEcho(bool echoes) const {
    termios changed = settings();
    if (echoes) {
      changed.c_lflag |= static_cast<tcflag_t>(ECHO);
    } else {
      changed.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    }
    tcsetattr(program, TCSANOW, &changed);
  }

  int user;
  int program = -1;

 private:
  [[nodiscard]] termios settings() const {
    termios settings{};
    tcgetattr(program, &settings);
    return settings;
  }
};

}  // namespace quillon::testing
