#pragma once

#include <string>
#include <utility>

#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskUpdateInstallerError.h"

namespace quillon {

/// Why the launcher service does not serve a request: `replacementLaunchFailed` with an explanation.
class VeskAppBundleInstallerLauncherServiceRefusal final : public VeskUpdateInstallerError {
 public:
  explicit VeskAppBundleInstallerLauncherServiceRefusal(std::string reason, std::string detail = {})
      : VeskUpdateInstallerError(Code::replacementLaunchFailed),
        reason_(std::move(reason)),
        detail_(std::move(detail)) {}

  /// One sentence, told to the host. Names nothing that the host may not know.
  [[nodiscard]] const std::string& reason() const noexcept { return reason_; }
  /// What was expected and what was found, for the diagnostic log; may be empty.
  [[nodiscard]] const std::string& detail() const noexcept { return detail_; }

 private:
  std::string reason_;
  std::string detail_;
};

}  // namespace quillon
