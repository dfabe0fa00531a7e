#pragma once

#include <functional>
#include <memory>
#include <mutex>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/VeskAppBundleReplacementLaunchResult.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherServiceConnection.h"

namespace quillon {

/// One launch: hands the first of its possible outcomes on, and ends the connection with it.
///
/// | State     | setConnection(c)         | finish(result)                                                     |
/// |-----------|--------------------------|--------------------------------------------------------------------|
/// | open      | c replaces the earlier one | completed: the connection is invalidated, then the completion runs |
/// | completed | c is invalidated at once | completed, nothing happens                                         |
///
/// From any thread.
class VeskAppBundleXPCLaunchSession {
 public:
  using Completion = std::function<void(const VeskAppBundleReplacementLaunchResult&)>;

  /// `completion` runs once, on the thread that finishes first. The session holds no connection by then.
  explicit VeskAppBundleXPCLaunchSession(Completion completion);

  void setConnection(std::shared_ptr<VeskAppBundleInstallerLauncherServiceConnection> connection);
  void finish(const VeskAppBundleReplacementLaunchResult& result);

 private:
  std::mutex lock_;
  const Completion completion_;
  std::shared_ptr<VeskAppBundleInstallerLauncherServiceConnection> connection_;  // guarded by lock_
  bool didComplete_ = false;                                                     // guarded by lock_
};

}  // namespace quillon
