#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleCodeSigningTool.h"

namespace quillon {

std::string systemCodeSigningToolPath() {
  return "/usr/bin/codesign";
}

}  // namespace quillon
