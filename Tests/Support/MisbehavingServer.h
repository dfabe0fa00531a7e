#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

#include "QuillonCore/Runtime/Posix/FileDescriptor.h"
#include "QuillonCore/Values/QuillonURL.h"
#include "Support/ListeningSocket.h"

namespace quillon::testing {

/// A TCP server that says what a test wants it to say, one connection after the other, on a thread of its own.
class MisbehavingServer {
 public:
  class Connection {
   public:
    explicit Connection(int descriptor) : descriptor_(descriptor) {}

    /// Up to the blank line behind the header, or what came before the client closed.
    std::string readRequest();
    /// False when the client is gone.
    bool send(std::string_view bytes);
    void waitUntilClosed();
    /// Breaks the connection instead of closing it (RST).
    void reset();
    [[nodiscard]] int descriptor() const noexcept { return descriptor_; }

   private:
    int descriptor_;
  };

  explicit MisbehavingServer(std::function<void(Connection&)> serve);
  /// Breaks the connection that is being served.
  ~MisbehavingServer();
  MisbehavingServer(const MisbehavingServer&) = delete;
  MisbehavingServer& operator=(const MisbehavingServer&) = delete;

  [[nodiscard]] std::uint16_t port() const noexcept { return listening_.port; }
  /// `path` begins with a slash.
  [[nodiscard]] QuillonURL url(std::string_view path = "/") const;
  [[nodiscard]] int connectionCount() const noexcept { return connectionCount_; }

 private:
  void run();
  [[nodiscard]] bool hold(int descriptor);

  const std::function<void(Connection&)> serve_;
  ListeningSocket listening_;
  std::atomic<int> connectionCount_ = 0;
  std::mutex lock_;
  int served_ = -1;         // guarded by lock_
  bool isStopped_ = false;  // guarded by lock_
  std::thread thread_;      // goes first
};

}  // namespace quillon::testing
