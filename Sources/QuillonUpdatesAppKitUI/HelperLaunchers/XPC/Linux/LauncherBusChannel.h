#pragma once

#include <systemd/sd-bus.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <variant>

#include "QuillonCore/Runtime/Posix/FileDescriptor.h"
#include "QuillonCore/Values/QuillonPropertyListValue.h"

namespace quillon {

/// Which end of the connection a channel is.
enum class LauncherBusEnd : std::uint8_t { host, service };

/// A request that arrived; its answer is sent under `identifier`.
struct LauncherBusCall {
  std::uint64_t identifier = 0;
  QuillonPropertyListValue::Dictionary message;
};

/// An answer to the request that was sent under `identifier`. Empty when it could not be read or was a D-Bus error.
struct LauncherBusReply {
  std::uint64_t identifier = 0;
  QuillonPropertyListValue::Dictionary reply;
};

/// An event of a launch.
struct LauncherBusProgress {
  QuillonPropertyListValue::Dictionary progress;
};

using LauncherBusMessage = std::variant<LauncherBusCall, LauncherBusReply, LauncherBusProgress>;

/// Why no more messages arrive.
enum class LauncherBusEnding : std::uint8_t {
  /// close() was called.
  closed,
  /// The other end closed the socket after the handshake.
  otherEndGone,
  /// There was no handshake, or the other end does not speak D-Bus.
  broken,
};

/// Dictionaries between host and launcher service: D-Bus over one socket, without a bus.
///
/// sd-bus objects belong to one thread at a time. All calls on them are made under one lock, which is never held while
/// waiting, so that a message leaves on the thread that sends it and no other thread has to be woken. A host is sent no
/// requests and a service neither answers nor events; what arrives against this, or is no message of the launcher, is
/// refused or passed over. A channel whose other end does not read what was written to it reads no further.
class LauncherBusChannel {
 public:
  /// Throws QuillonSystemError for what is no connected socket.
  LauncherBusChannel(FileDescriptor socket, LauncherBusEnd end);
  ~LauncherBusChannel();
  LauncherBusChannel(const LauncherBusChannel&) = delete;
  LauncherBusChannel& operator=(const LauncherBusChannel&) = delete;

  /// Keeps next() from doing anything while it lives: no message is taken up, and what the socket did not take at once
  /// goes on its way afterwards. To be short. For any thread.
  class Hold {
   public:
    explicit Hold(LauncherBusChannel& channel);
    ~Hold();
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;

   private:
    LauncherBusChannel& channel_;
  };

  // For any thread.

  /// Sends a request. Its identifier; absent when it cannot be sent.
  [[nodiscard]] std::optional<std::uint64_t> call(const QuillonPropertyListValue::Dictionary& message);
  /// Answers a request. False when it has been answered before or the other end is gone. A dictionary that the bus
  /// cannot carry is sent as an answer that cannot be read.
  bool reply(std::uint64_t callIdentifier, const QuillonPropertyListValue::Dictionary& reply);
  /// Sends an event. False when it cannot be sent.
  bool reportProgress(const QuillonPropertyListValue::Dictionary& progress);
  /// Ends the conversation: the other end finds the socket closed, and next() returns. What was written arrives.
  void close() noexcept;

  // For one thread.

  /// Waits for a message. Absent when there will be none; then ending() says why.
  [[nodiscard]] std::optional<LauncherBusMessage> next();
  [[nodiscard]] LauncherBusEnding ending() const noexcept;

 private:
  struct MessageDeleter {
    void operator()(sd_bus_message* message) const noexcept { sd_bus_message_unref(message); }
  };
  struct BusDeleter {
    void operator()(sd_bus* bus) const noexcept { sd_bus_close_unref(bus); }
  };
  using Message = std::unique_ptr<sd_bus_message, MessageDeleter>;
  /// What a look at the bus brought.
  struct Step {
    bool didProgress = false;
    std::optional<LauncherBusMessage> message;
  };

  // Called with lock_ held.
  [[nodiscard]] bool isCongested() const noexcept;
  [[nodiscard]] Step step();
  [[nodiscard]] std::optional<LauncherBusMessage> interpreted(sd_bus_message* message);
  [[nodiscard]] std::optional<LauncherBusMessage> interpretedCall(sd_bus_message* message);
  bool send(sd_bus_message* message, std::uint64_t* cookie);
  [[nodiscard]] short wantedEvents() const noexcept;
  [[nodiscard]] int waitMilliseconds() const noexcept;

  /// Waits until nobody holds the channel, or it is closed.
  void waitWhileHeld();
  /// Waits for the socket; what poll(2) found there.
  [[nodiscard]] short wait(short events, int milliseconds) const noexcept;
  void wake() const noexcept;

  const LauncherBusEnd end_;
  /// A second descriptor of the bus's socket: the bus closes its own when the other end goes.
  FileDescriptor socket_;
  /// Readable when the reader is to look again.
  FileDescriptor wake_;
  std::atomic<bool> isClosed_ = false;

  std::mutex holdLock_;
  std::condition_variable holdChanged_;
  std::atomic<int> holdCount_ = 0;  // changed under holdLock_

  mutable std::mutex lock_;
  std::unique_ptr<sd_bus, BusDeleter> bus_;   // guarded by lock_
  bool didConnect_ = false;                   // guarded by lock_
  bool didFail_ = false;                      // guarded by lock_
  std::uint64_t lastCall_ = 0;                // guarded by lock_
  std::map<std::uint64_t, Message> answers_;  // of requests without answer; guarded by lock_
};

}  // namespace quillon
