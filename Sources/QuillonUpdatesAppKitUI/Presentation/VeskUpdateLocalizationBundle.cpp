#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateLocalizationBundle.h"

#include <utility>

#include "QuillonCore/Runtime/QuillonLocalizationBundle.h"

namespace quillon {

VeskUpdateLocalizationBundle::VeskUpdateLocalizationBundle(
    const std::shared_ptr<const QuillonFileManaging>& fileManager, const QuillonURL& bundleURL,
    const std::vector<std::string>& preferredLanguages) {
  const auto read = [&](std::string_view table) {
    return std::make_shared<const QuillonLocalizationBundle>(fileManager, bundleURL, preferredLanguages, table);
  };
  const auto updateTexts = read(VeskUpdateTexts::table);
  const auto applicationTexts = read(VeskUpdateTexts::applicationTable);
  language_ = updateTexts->language();
  lookup_ = [updateTexts, applicationTexts](std::string_view key, std::string_view table) {
    return (table == VeskUpdateTexts::table ? updateTexts : applicationTexts)->text(key);
  };
}

VeskUpdateLocalizationBundle::VeskUpdateLocalizationBundle(VeskUpdateTextLookup lookup, std::string language)
    : lookup_(std::move(lookup)), language_(std::move(language)) {}

std::string VeskUpdateLocalizationBundle::text(const VeskUpdateText& text) const {
  return lookup_(text.english, VeskUpdateTexts::table);
}

std::string VeskUpdateLocalizationBundle::applicationText(std::string_view key) const {
  return lookup_(key, VeskUpdateTexts::applicationTable);
}

}  // namespace quillon
