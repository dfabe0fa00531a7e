#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateLocalizationBundle.h"

namespace quillon {

VeskUpdateLocalizationBundle::VeskUpdateLocalizationBundle(
    const std::shared_ptr<const QuillonFileManaging>& fileManager, const QuillonURL& bundleURL,
    const std::vector<std::string>& preferredLanguages)
    : updateTexts_(std::make_shared<QuillonLocalizationBundle>(fileManager, bundleURL, preferredLanguages,
                                                               VeskUpdateTexts::table)),
      applicationTexts_(fileManager, bundleURL, preferredLanguages, VeskUpdateTexts::applicationTable) {}

std::string VeskUpdateLocalizationBundle::text(const VeskUpdateText& text) const {
  return updateTexts_->text(text.english);
}

std::string VeskUpdateLocalizationBundle::applicationText(std::string_view key) const {
  return applicationTexts_.text(key);
}

}  // namespace quillon
