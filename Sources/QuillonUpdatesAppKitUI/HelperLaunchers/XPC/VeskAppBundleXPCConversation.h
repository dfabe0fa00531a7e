#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherProgressReceiver.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherServiceConnection.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherServiceConnectionMaking.h"

namespace quillon {

/// Keeps what VeskAppBundleInstallerLauncherServiceConnection promises, for connections that deliver on threads of
/// their own and whenever they like: who may still call whom, and one at a time.
///
/// | state       | reply, event      | error                      | launch                               |
/// |-------------|-------------------|----------------------------|--------------------------------------|
/// | open        | delivered         | delivered, and then failed | sent                                 |
/// | failed      | dropped           | dropped                    | not sent, but true: the error is out |
/// | invalidated | dropped           | dropped                    | not sent, and false                  |
///
/// While a request is being sent, and until `didSubmitRequest` has returned, everything that arrives waits. All
/// functions may be called from any thread; those of the owner also from within the callbacks, of those of the system
/// didFail() alone: an error that arrives on a thread that is sending, or in a callback, is kept until that thread is
/// through with it, and a request whose sending met it counts as one after it.
class VeskAppBundleXPCConversation {
 public:
  using Dictionary = QuillonPropertyListValue::Dictionary;
  using ErrorHandler = VeskAppBundleInstallerLauncherServiceConnectionMaking::ErrorHandler;
  using Reply = VeskAppBundleInstallerLauncherServiceConnection::Reply;
  /// Names a request to didReply().
  using Request = std::uint64_t;

  VeskAppBundleXPCConversation(ErrorHandler errorHandler, VeskAppBundleInstallerLaunchProgressHandler progressHandler);
  VeskAppBundleXPCConversation(const VeskAppBundleXPCConversation&) = delete;
  VeskAppBundleXPCConversation& operator=(const VeskAppBundleXPCConversation&) = delete;
  ~VeskAppBundleXPCConversation() = default;

  // For the connection's owner; see VeskAppBundleInstallerLauncherServiceConnection.

  /// Calls `send`, which says whether the request is on its way, and then `didSubmitRequest`.
  [[nodiscard]] bool launch(const std::function<bool(Request)>& send, const std::function<void()>& didSubmitRequest,
                            Reply reply);
  void invalidate() noexcept;
  /// Returns when no callback runs; at once from within one.
  void waitForCallback() noexcept;

  // For the system, which delivers.

  /// Each request has at most one reply; a further one is dropped.
  void didReply(Request request, const Dictionary& reply) noexcept;
  void didProgress(const Dictionary& progress) noexcept;
  /// The connection has ended. The first error is the one that is heard of.
  void didFail(const QuillonSystemError& error) noexcept;

 private:
  /// In the order in which one follows the other.
  enum class State : std::uint8_t { open, failed, invalidated };
  class Turn;

  [[nodiscard]] bool beginTurn() noexcept;
  void endTurn() noexcept;
  /// True when the thread that calls could not wait for its turn, because that is up to itself.
  [[nodiscard]] bool keepWhileBusyHere(const QuillonSystemError& error) noexcept;
  void deliverKeptError() noexcept;
  [[nodiscard]] bool isBusyHere() const noexcept;  // with lock_ held
  [[nodiscard]] bool sendWhileOpen(const std::function<bool(Request)>& send,
                                   const std::function<void()>& didSubmitRequest, Reply reply);

  const ErrorHandler errorHandler_;
  VeskAppBundleInstallerLauncherProgressReceiver progressReceiver_;
  mutable std::mutex lock_;
  std::condition_variable changed_;
  State state_ = State::open;                    // guarded by lock_
  std::vector<std::thread::id> sendingThreads_;  // one for each request that is being sent; guarded by lock_
  std::thread::id callbackThread_;               // of the callback that runs; guarded by lock_
  std::optional<QuillonSystemError> keptError_;  // guarded by lock_
  Request lastRequest_ = 0;                      // guarded by lock_
  std::map<Request, Reply> replies_;             // guarded by lock_
};

}  // namespace quillon
