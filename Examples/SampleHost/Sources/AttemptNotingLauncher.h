#pragma once

#include <memory>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/VeskAppBundleUpdateHelperLaunching.h"
#include "QuillonUpdatesCore/VeskUpdateMemory.h"

namespace sample {

/// Notes an attempt at the moment at which it is handed to the installer, and no earlier: whoever quits during the
/// download has not seen an update fail. Forgets it when nothing was started.
///
/// When nobody can tell whether an installer was started it stays noted: one that was leaves its report under the
/// attempt's name.
class AttemptNotingLauncher final : public quillon::VeskAppBundleUpdateHelperLaunching {
 public:
  AttemptNotingLauncher(std::shared_ptr<quillon::VeskAppBundleUpdateHelperLaunching> launcher,
                        std::shared_ptr<quillon::VeskUpdateMemory> memory, quillon::VeskUpdateAttempt attempt);

  [[nodiscard]] quillon::VeskAppBundleReplacementLaunchResult launchReplacement(
      const quillon::VeskAppBundleReplacementRequest& request,
      const quillon::VeskAppBundleInstallerLaunchProgressHandler& progressHandler) noexcept override;

 private:
  const std::shared_ptr<quillon::VeskAppBundleUpdateHelperLaunching> launcher_;
  const std::shared_ptr<quillon::VeskUpdateMemory> memory_;
  const quillon::VeskUpdateAttempt attempt_;
};

}  // namespace sample
