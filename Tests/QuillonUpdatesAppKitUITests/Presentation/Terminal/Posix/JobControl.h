#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <functional>

#include "QuillonUpdatesAppKitUITests/Presentation/Terminal/Posix/PseudoTerminal.h"

namespace quillon::testing {

/// A shell that controls jobs in a terminal: a process of its own, which runs a script and ends at the first thing in
/// it that is not so.
class Shell {
 public:
  /// Returns 0, or the number of the line that was not so.
  static int run(const PseudoTerminal& terminal, const std::function<void(Shell&)>& script) {
    std::array<int, 2> result{};
    EXPECT_EQ(pipe(result.data()), 0);
    const pid_t process = fork();
    if (process == 0) {
      setsid();
      ioctl(terminal.program, TIOCSCTTY, 0);
      std::signal(SIGTTOU, SIG_IGN);
      Shell shell(terminal, result[1]);
      script(shell);
      shell.end(0);
    }
    close(result[1]);
    int line = -1;
    EXPECT_EQ(read(result[0], &line, sizeof line), static_cast<ssize_t>(sizeof line));
    close(result[0]);
    EXPECT_EQ(waitpid(process, nullptr, 0), process);
    return line;
  }

  const PseudoTerminal& terminal;

  /// Starts `job` in a process group of its own. It calls report() when it has come so far.
  void start(bool inForeground, const std::function<void(Shell& shell)>& job) {
    job_ = fork();
    if (job_ == 0) {
      setpgid(0, 0);
      if (inForeground) tcsetpgrp(terminal.program, getpgrp());
      std::signal(SIGTTOU, SIG_DFL);
      job(*this);
      _exit(0);
    }
    setpgid(job_, job_);
    if (inForeground) tcsetpgrp(terminal.program, job_);
  }
  void report() const { EXPECT_EQ(write(reports_[1], "", 1), 1); }
  void waitForReport() const {
    char byte = 1;
    EXPECT_EQ(read(reports_[0], &byte, 1), 1);
  }
  /// As fg does.
  void continueInForeground() const {
    tcsetpgrp(terminal.program, job_);
    signal(SIGCONT);
  }
  void takeTerminal() const { tcsetpgrp(terminal.program, getpgrp()); }
  void signal(int signal) const { kill(-job_, signal); }
  [[nodiscard]] bool stopsBy(int signal) const {
    const int status = waitForJob();
    return WIFSTOPPED(status) && WSTOPSIG(status) == signal;
  }
  [[nodiscard]] bool endsBy(int signal) const {
    const int status = waitForJob();
    return WIFSIGNALED(status) && WTERMSIG(status) == signal;
  }
  [[nodiscard]] bool ends() const {
    const int status = waitForJob();
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
  }

  void require(bool isSo, int line) {
    if (!isSo) end(line);
  }

 private:
  Shell(const PseudoTerminal& itsTerminal, int result) : terminal(itsTerminal), result_(result) {
    EXPECT_EQ(pipe(reports_.data()), 0);
  }

  [[nodiscard]] int waitForJob() const {
    int status = 0;
    EXPECT_EQ(waitpid(job_, &status, WUNTRACED), job_);
    return status;
  }
  [[noreturn]] void end(int line) const {
    if (job_ > 0 && line != 0) signal(SIGKILL);
    EXPECT_EQ(write(result_, &line, sizeof line), static_cast<ssize_t>(sizeof line));
    _exit(0);
  }

  const int result_;
  std::array<int, 2> reports_{-1, -1};
  pid_t job_ = 0;
};

}  // namespace quillon::testing
