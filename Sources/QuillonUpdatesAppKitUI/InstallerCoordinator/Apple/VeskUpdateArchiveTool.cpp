#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateArchiveTool.h"

namespace quillon {

std::string systemArchiveToolPath() {
  return "/usr/bin/ditto";
}

}  // namespace quillon
