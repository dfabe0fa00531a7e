#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateArchiveTool.h"

#include "QuillonCore/Runtime/Linux/QuillonToolLocation.h"

namespace quillon {

std::string systemArchiveToolPath() {
  return toolPath("quillon-ditto");
}

}  // namespace quillon
