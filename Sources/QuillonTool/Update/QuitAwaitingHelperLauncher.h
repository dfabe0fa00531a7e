#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "QuillonTool/Update/ApplicationProcesses.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/VeskAppBundleUpdateHelperLaunching.h"

namespace quillon {

/// Has an installer launched once the application has quit: the installer itself waits for one process only, the one
/// that asked for it.
class QuitAwaitingHelperLauncher final : public VeskAppBundleUpdateHelperLaunching {
 public:
  /// Waits for the application at a location and returns the processes that have not ended; throws when the wait is
  /// given up.
  using WaitForQuit = std::function<std::vector<ApplicationProcess>(const QuillonURL& bundle)>;

  QuitAwaitingHelperLauncher(std::shared_ptr<VeskAppBundleUpdateHelperLaunching> launcher, WaitForQuit waitForQuit);

  /// `launchFailed` when the application has not quit or the wait was given up; then nothing was launched.
  [[nodiscard]] VeskAppBundleReplacementLaunchResult launchReplacement(
      const VeskAppBundleReplacementRequest& request,
      const VeskAppBundleInstallerLaunchProgressHandler& progressHandler) noexcept override;

  /// Whether an installer may be at work although the launch failed.
  [[nodiscard]] bool mayHaveLaunched() const;
  /// The processes because of which nothing was launched.
  [[nodiscard]] std::vector<ApplicationProcess> processesThatStayed() const;

 private:
  const std::shared_ptr<VeskAppBundleUpdateHelperLaunching> launcher_;
  const WaitForQuit waitForQuit_;
  mutable std::mutex lock_;
  std::vector<ApplicationProcess> processesThatStayed_;  // guarded by lock_
  bool mayHaveLaunched_ = false;                         // guarded by lock_
};

}  // namespace quillon
