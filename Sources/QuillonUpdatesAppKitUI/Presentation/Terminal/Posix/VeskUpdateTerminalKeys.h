#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <thread>

#include "QuillonCore/Contracts/QuillonMainThreadDispatching.h"
#include "QuillonUpdatesAppKitUI/Presentation/Terminal/Posix/VeskUpdateTerminalKeyMode.h"
#include "QuillonUpdatesAppKitUI/Presentation/Terminal/VeskUpdateTerminal.h"

namespace quillon {

/// How to write to `outputDescriptor`: in place where it is a terminal that can, at its present width.
[[nodiscard]] VeskUpdateTerminal::Style terminalStyle(int outputDescriptor);

/// Hands what the user types to a VeskUpdateTerminal. In a terminal that is each key, and none is echoed, as long as a
/// question is open, and only an answer to the question it was typed for; settings are then put back. In a file or pipe
/// it is the first character of each line, an empty line being the return key; each line waits for a question that it
/// can answer, so that a script can write all of them at once. Made and destroyed on the main thread.
///
/// While a question is open the signals that end or stop the process are handled where nobody else does:
/// VeskUpdateTerminalKeyMode says how. A job in the background is stopped when it asks, until it has the terminal.
class VeskUpdateTerminalKeys {
 public:
  /// `inputDescriptor` stays the caller's. It is read by a thread of this object, which posts to `mainThread`. The
  /// Escape key is one when nothing follows it for `escapeWait`, which arrows and other keys outrun on any usual line;
  /// a negative time has no end.
  VeskUpdateTerminalKeys(int inputDescriptor, std::shared_ptr<VeskUpdateTerminal> terminal,
                         std::shared_ptr<QuillonMainThreadDispatching> mainThread,
                         std::chrono::milliseconds escapeWait = std::chrono::milliseconds(50));
  ~VeskUpdateTerminalKeys();
  VeskUpdateTerminalKeys(const VeskUpdateTerminalKeys&) = delete;
  VeskUpdateTerminalKeys& operator=(const VeskUpdateTerminalKeys&) = delete;

 private:
  void read();
  [[nodiscard]] std::uint64_t currentQuestion() const;
  /// As read(2); fails with EAGAIN when keys of a terminal answer another question.
  [[nodiscard]] ssize_t readFor(std::uint64_t question, std::span<char> bytes) const;
  /// Of a script: posts the key of the first line that is complete, and forgets the line. False when there is none.
  [[nodiscard]] bool takeLine();
  /// `question` is the one that the key may answer; 0 for whichever is open when the main thread gets to it.
  void post(char key, std::uint64_t question) const;
  void questionChanged();
  /// Lets the reading thread read a line of a script for the question that is open.
  void wantKey();
  void wakeUp() const;

  const int inputDescriptor_;
  const bool isTerminal_;
  const std::chrono::milliseconds escapeWait_;
  const std::shared_ptr<VeskUpdateTerminal> terminal_;
  const std::shared_ptr<QuillonMainThreadDispatching> mainThread_;
  std::string unread_;        // what a script has written beyond the last line; of the reading thread
  bool isKeyWanted_ = false;  // by a question, of the main thread
  /// Held while keys are read and while the terminal's settings change: as lines, which the settings may ask for,
  /// reading would wait for the end of one.
  mutable std::mutex lock_;
  std::uint64_t question_ = 0;                        // that keys of a terminal answer; guarded by lock_
  std::optional<VeskUpdateTerminalKeyMode> keyMode_;  // while a question is open; guarded by lock_
  int wakeUp_[2] = {-1, -1};  // a byte for each change that the reading thread must know of; closed to end it
  const std::shared_ptr<VeskUpdateTerminalKeys*> self_ = std::make_shared<VeskUpdateTerminalKeys*>(this);
  std::thread thread_;
};

}  // namespace quillon
