#pragma once

#include <exception>
#include <functional>
#include <mutex>

namespace quillon {

/// Ends one wait for the user's consent: with the press of a button, or with the cancellation, whichever comes first.
///
/// | State    | setContinuation(c)                    | resolve(error)                            |
/// |----------|---------------------------------------|-------------------------------------------|
/// | open     | c is kept                             | resolved; a kept continuation gets `error` |
/// | resolved | c gets the cancellation error at once | nothing happens                           |
///
/// From any thread.
class VeskUpdateReadyInstallConfirmation {
 public:
  /// Gets no error for a confirmation. Must not throw.
  using Continuation = std::function<void(const std::exception_ptr& error)>;

  /// Called once, before whatever confirms can be reached: what is resolved before it counts as cancelled.
  void setContinuation(Continuation continuation);
  /// Without `error` the user has confirmed. The continuation runs within this call.
  void resolve(const std::exception_ptr& error = nullptr);

 private:
  std::mutex lock_;
  Continuation continuation_;  // guarded by lock_
  bool resolved_ = false;      // guarded by lock_
};

}  // namespace quillon
