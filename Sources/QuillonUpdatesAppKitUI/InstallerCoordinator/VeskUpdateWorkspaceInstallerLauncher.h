#pragma once

#include <memory>
#include <utility>

#include "QuillonCore/Contracts/QuillonWorkspaceOpening.h"
#include "QuillonCore/Runtime/QuillonSystemServices.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerLaunching.h"

namespace quillon {

/// Opens installer documents with the application that the user's desktop has for them.
class VeskUpdateWorkspaceInstallerLauncher final : public VeskUpdateInstallerLaunching {
 public:
  explicit VeskUpdateWorkspaceInstallerLauncher(
      std::shared_ptr<QuillonWorkspaceOpening> workspace = makeSystemWorkspace())
      : workspace_(std::move(workspace)) {}

  [[nodiscard]] bool open(const QuillonURL& url) noexcept override { return workspace_->open(url); }

 private:
  const std::shared_ptr<QuillonWorkspaceOpening> workspace_;
};

}  // namespace quillon
