#pragma once

#include <functional>

#include "QuillonCore/Values/QuillonPropertyListValue.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/VeskAppBundleReplacementLaunchResult.h"

namespace quillon {

/// The host's end of a connection to its launcher service.
///
/// Its callbacks (those given here and the handlers given to whoever made it) may call everything here, and let the
/// last owner go. But for `didSubmitRequest`, and for the error of a connection that cannot begin to receive or to
/// send, they are called one at a time, on a thread of the connection. Each of them is called as long as neither the
/// connection has been invalidated nor its error handler called. Letting the last owner go invalidates the connection
/// and waits for a callback that runs on the connection's thread, except from within it.
class VeskAppBundleInstallerLauncherServiceConnection {
 public:
  using Reply = std::function<void(const VeskAppBundleReplacementLaunchResult&)>;

  virtual ~VeskAppBundleInstallerLauncherServiceConnection() = default;

  /// Begins to receive. Called once, before anything is sent.
  virtual void resume() noexcept = 0;

  /// Sends a request. False when it could not be sent: the connection cannot carry it, has no room for it, or has been
  /// invalidated. Then no callback given here is called. Neither is one, but the answer is true, on a connection that
  /// has ended by itself: its error handler has heard of it or is going to.
  ///
  /// Calls `didSubmitRequest` on the calling thread once the request is on its way, perhaps beside a callback for
  /// something that had arrived before. Nothing that the service says to the request is delivered before that has
  /// returned. `reply` is called at most once; a reply that cannot be read is the protocolFailure that says so.
  [[nodiscard]] virtual bool launchReplacement(const QuillonPropertyListValue::Dictionary& message,
                                               const std::function<void()>& didSubmitRequest, Reply reply) noexcept = 0;

  /// Ends the connection. No callback begins after this, but one whose turn had come may still run. From any thread.
  virtual void invalidate() noexcept = 0;
};

}  // namespace quillon
