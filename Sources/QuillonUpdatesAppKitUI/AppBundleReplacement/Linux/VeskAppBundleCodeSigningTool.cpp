#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleCodeSigningTool.h"

#include "QuillonCore/Runtime/Linux/QuillonToolLocation.h"

namespace quillon {

std::string systemCodeSigningToolPath() {
  return toolPath("quillon-codesign");
}

}  // namespace quillon
