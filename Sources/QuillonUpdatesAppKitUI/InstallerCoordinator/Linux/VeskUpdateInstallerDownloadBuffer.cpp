#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerDownloadBuffer.h"

#include "QuillonUpdatesAppKitUI/InstallerCoordinator/Linux/VeskUpdateInstallerDownloadFile.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerDownloadMemory.h"

namespace quillon {

std::unique_ptr<VeskUpdateInstallerDownloadBuffer> makeSystemDownloadBuffer(
    const std::vector<QuillonURL>& spoolFolders) {
  for (const QuillonURL& folder : spoolFolders) {
    if (auto file = VeskUpdateInstallerDownloadFile::make(folder)) return file;
  }
  return std::make_unique<VeskUpdateInstallerDownloadMemory>();
}

}  // namespace quillon
