#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherServiceConnectionMaking.h"

namespace quillon::testing {

/// A connection whose service is the test.
class FakeLauncherServiceConnection final : public VeskAppBundleInstallerLauncherServiceConnection {
 public:
  void resume() noexcept override { note("resume"); }
  bool launchReplacement(const QuillonPropertyListValue::Dictionary& message,
                         const std::function<void()>& didSubmitRequest, Reply reply) noexcept override {
    note("launchReplacement");
    if (!canSend) return false;
    {
      const std::lock_guard guard(lock_);
      message_ = message;
      reply_ = reply;
    }
    didSubmitRequest();
    // Without a service's own thread, what it says is said here.
    if (whenSubmitted) whenSubmitted(reply);
    return true;
  }
  void invalidate() noexcept override {
    note("invalidate");
    if (whenInvalidated) whenInvalidated();
  }

  [[nodiscard]] std::vector<std::string> calls() const {
    const std::lock_guard guard(lock_);
    return calls_;
  }
  [[nodiscard]] QuillonPropertyListValue::Dictionary message() const {
    const std::lock_guard guard(lock_);
    return message_;
  }
  /// Replies as a service that is late, whether or not anybody waits.
  void reply(const VeskAppBundleReplacementLaunchResult& result) const {
    Reply reply;
    {
      const std::lock_guard guard(lock_);
      reply = reply_;
    }
    reply(result);
  }

  // Set before the connection is used.
  bool canSend = true;
  std::function<void(const Reply&)> whenSubmitted;
  std::function<void()> whenInvalidated;

 private:
  void note(const std::string& call) {
    const std::lock_guard guard(lock_);
    calls_.push_back(call);
  }

  mutable std::mutex lock_;
  std::vector<std::string> calls_;                // guarded by lock_
  QuillonPropertyListValue::Dictionary message_;  // guarded by lock_
  Reply reply_;                                   // guarded by lock_
};

/// Hands out one connection, and keeps the handlers that it is to call.
class FakeLauncherServiceConnectionFactory final : public VeskAppBundleInstallerLauncherServiceConnectionMaking {
 public:
  std::shared_ptr<VeskAppBundleInstallerLauncherServiceConnection> make(
      const std::string& name, ErrorHandler onError,
      VeskAppBundleInstallerLaunchProgressHandler onProgress) noexcept override {
    serviceName = name;
    errorHandler = std::move(onError);
    progressHandler = std::move(onProgress);
    if (whenMade) whenMade();
    return connection;
  }

  std::shared_ptr<FakeLauncherServiceConnection> connection = std::make_shared<FakeLauncherServiceConnection>();
  std::function<void()> whenMade;
  std::string serviceName;
  ErrorHandler errorHandler;
  VeskAppBundleInstallerLaunchProgressHandler progressHandler;
};

}  // namespace quillon::testing
