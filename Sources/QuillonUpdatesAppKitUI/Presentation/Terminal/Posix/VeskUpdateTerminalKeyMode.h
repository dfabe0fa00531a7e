#pragma once

#include <termios.h>

namespace quillon {

/// A terminal that hands over each key at once and echoes none, as long as this lives. What is typed before is dropped.
/// One at a time in a process; another one does nothing. Made and destroyed on one thread.
///
/// Handlers look after it, as long as this lives, and only for signals whose action is the default one: a host keeps
/// its handlers, and what it ignores stays ignored. The default action follows.
///
/// |                              | the terminal is this job's         | it is the shell's, or another job's        |
/// |------------------------------|------------------------------------|--------------------------------------------|
/// | begin                        | settings are kept, then changed    | SIGTTOU stops the job until it is its own  |
/// | SIGTSTP                      | put back while the job is stopped  | left alone                                 |
/// | SIGCONT                      | changed again                      | left alone                                 |
/// | SIGINT, TERM, HUP, QUIT, end | put back                           | left alone                                 |
///
/// A host with a handler of its own for a signal that ends its process calls putBack() in it. SIGKILL, crashes and
/// exit() leave the terminal without echo.
class VeskUpdateTerminalKeyMode {
 public:
  explicit VeskUpdateTerminalKeyMode(int descriptor);
  ~VeskUpdateTerminalKeyMode();
  VeskUpdateTerminalKeyMode(const VeskUpdateTerminalKeyMode&) = delete;
  VeskUpdateTerminalKeyMode& operator=(const VeskUpdateTerminalKeyMode&) = delete;

  /// Puts back the terminal of the process, where it is changed, for good: signals change it no more. From any thread,
  /// and async-signal-safe.
  static void putBack() noexcept;

 private:
  static void handleEnd(int signal) noexcept;
  static void handleStop(int signal) noexcept;
  static void handleContinue(int signal) noexcept;
  static void installHandlers() noexcept;
  static void removeHandlers() noexcept;

  void apply(const termios& settings) const noexcept;

  const int descriptor_;
  termios lines_{};  // what the terminal had
  termios keys_{};   // what it has meanwhile
};

}  // namespace quillon
