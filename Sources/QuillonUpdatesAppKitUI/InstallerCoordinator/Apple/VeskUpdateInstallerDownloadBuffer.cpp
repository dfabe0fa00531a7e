#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerDownloadBuffer.h"

#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerDownloadMemory.h"

namespace quillon {

std::unique_ptr<VeskUpdateInstallerDownloadBuffer> makeSystemDownloadBuffer(
    const std::vector<QuillonURL>& /*spoolFolders*/) {
  // The system gives no name to a file that lost its own, and one that kept it would be left after a crash.
  return std::make_unique<VeskUpdateInstallerDownloadMemory>();
}

}  // namespace quillon
