#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerDownloadProgress.h"

#include <algorithm>

namespace quillon {

std::optional<double> VeskUpdateInstallerDownloadProgress::progressFraction() const noexcept {
  if (!expectedBytes || *expectedBytes < 1) return std::nullopt;
  return std::clamp(static_cast<double>(bytesReceived) / static_cast<double>(*expectedBytes), 0.0, 1.0);
}

}  // namespace quillon
