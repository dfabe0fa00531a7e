#pragma once

#include <memory>
#include <utility>

#include "QuillonCore/Contracts/QuillonWorkspaceOpening.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementRelaunching.h"

namespace quillon {

/// Asks the workspace to open the bundle, as this process's user.
class VeskAppBundleWorkspaceRelauncher final : public VeskAppBundleReplacementRelaunching {
 public:
  explicit VeskAppBundleWorkspaceRelauncher(std::shared_ptr<QuillonWorkspaceOpening> workspace)
      : workspace_(std::move(workspace)) {}

  [[nodiscard]] bool relaunchApplication(const QuillonURL& applicationURL) noexcept override {
    return workspace_->open(applicationURL);
  }

 private:
  std::shared_ptr<QuillonWorkspaceOpening> workspace_;
};

}  // namespace quillon
