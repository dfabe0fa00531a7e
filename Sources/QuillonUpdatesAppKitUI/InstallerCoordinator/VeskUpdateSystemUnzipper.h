#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "QuillonCore/Contracts/QuillonProcessRunning.h"
#include "QuillonCore/Runtime/QuillonSystemServices.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateArchiveTool.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateArchiveUnzipping.h"

namespace quillon {

/// Unpacks with the system's archive tool, a child process that a stop request ends; the tool removes what it has
/// extracted until then. Calls may run on several threads at once.
class VeskUpdateSystemUnzipper final : public VeskUpdateArchiveUnzipping {
 public:
  /// A hundred thousand files take the tool a second to remove. It is killed after this time, and leaves them;
  /// quillon-ditto removes them when it next unpacks to the same folder.
  static constexpr std::chrono::seconds kTimeToCleanUp{10};

  explicit VeskUpdateSystemUnzipper(
      std::shared_ptr<QuillonProcessRunning> processRunner = makeSystemProcessRunner(std::nullopt, kTimeToCleanUp),
      std::string archiveToolPath = systemArchiveToolPath());

  [[nodiscard]] bool unzip(const std::string& archivePath, const std::string& destinationPath,
                           std::stop_token stopToken = {}) noexcept override;

 private:
  const std::shared_ptr<QuillonProcessRunning> processRunner_;
  const std::string archiveToolPath_;
};

}  // namespace quillon
