#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleInstallerFailureDiagnostic.h"

namespace quillon {

std::string VeskAppBundleInstallerFailureDiagnostic::description() const {
  std::string text = "phase=";
  text.append(rawValue(phase));
  if (errorDomain) text.append(" domain=").append(*errorDomain);
  if (errorCode) text.append(" code=").append(std::to_string(*errorCode));
  if (errorDescription && !errorDescription->empty()) text.append(" description=").append(*errorDescription);
  return text;
}

}  // namespace quillon
