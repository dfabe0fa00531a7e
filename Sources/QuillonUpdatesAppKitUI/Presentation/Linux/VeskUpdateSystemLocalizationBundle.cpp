#include "QuillonCore/Runtime/QuillonPreferredLanguages.h"
#include "QuillonCore/Runtime/QuillonSystemServices.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateLocalizationBundle.h"

namespace quillon {

std::shared_ptr<const VeskUpdateLocalizationBundle> makeSystemLocalizationBundle(const QuillonURL& bundleURL) {
  return std::make_shared<const VeskUpdateLocalizationBundle>(makeSystemFileManager(), bundleURL, preferredLanguages());
}

}  // namespace quillon
