#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdatePromptTexts.h"

#include <string_view>

#include "QuillonCore/Text/DecimalNumber.h"
#include "QuillonCore/Text/QuillonCharacterClasses.h"
#include "QuillonCore/Text/QuillonLocalizedFormat.h"
#include "QuillonCore/Text/QuillonPlainText.h"
#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonUpdatesCore/VeskUpdateFeedKeys.h"

namespace quillon {
namespace {

using Keys = VeskUpdateFeedKeys;

/// The version that an entry without "current" is said to offer.
constexpr std::string_view kUnknownVersion = "X";

const std::string* offeredVersion(const VeskUpdatePromptInput& input) noexcept {
  const auto found = input.feed.find(Keys::currentVersion);
  return found == input.feed.end() ? nullptr : found->second.getIf<std::string>();
}

std::string buildOnlyDescription(const VeskUpdatePromptInput& input, const VeskUpdatePromptBuildOnlyUpdate& update) {
  return formattedText(
      input.localizationBundle->text(VeskUpdateTexts::stabilityUpdateDescription),
      {input.applicationName, update.version, std::to_string(input.applicationBuild), std::to_string(update.build)});
}

std::string versionDescription(const VeskUpdatePromptInput& input) {
  const std::string key =
      std::string(input.applicationName).append(VeskUpdateTexts::versionDescriptionAfterName.english);
  const std::string* const version = offeredVersion(input);
  return formattedText(input.localizationBundle->applicationText(key),
                       {version == nullptr ? kUnknownVersion : std::string_view(*version), input.applicationVersion});
}

}  // namespace

std::optional<VeskUpdatePromptBuildOnlyUpdate> buildOnlyUpdate(const VeskUpdatePromptInput& input) {
  const std::string* const version = offeredVersion(input);
  if (version == nullptr || *version != input.applicationVersion || input.applicationBuild < 1) return std::nullopt;
  const std::int64_t build = decimalNumber<std::int64_t>(stringOrEmpty(input.feed, Keys::currentBuild)).value_or(0);
  if (build <= input.applicationBuild) return std::nullopt;
  return VeskUpdatePromptBuildOnlyUpdate{.version = *version, .build = build};
}

std::string promptWindowTitle(const VeskUpdatePromptInput& input) {
  const VeskUpdateLocalizationBundle& texts = *input.localizationBundle;
  if (buildOnlyUpdate(input)) return singleLineText(texts.text(VeskUpdateTexts::stabilityUpdateAvailable));
  return singleLineText(texts.applicationText(stringOrEmpty(input.feed, Keys::title)));
}

std::string topTitleString(const VeskUpdatePromptInput& input) {
  const VeskUpdateLocalizationBundle& texts = *input.localizationBundle;
  if (buildOnlyUpdate(input)) return singleLineText(texts.text(VeskUpdateTexts::stabilityUpdateAvailable));
  const bool isBeta = containsLetter(stringOrEmpty(input.feed, Keys::currentVersion));
  const VeskUpdateText& headline =
      isBeta ? VeskUpdateTexts::newBetaVersionAvailable : VeskUpdateTexts::newVersionAvailable;
  return singleLineText(texts.applicationText(headline.english));
}

std::string secondaryTitleString(const VeskUpdatePromptInput& input) {
  const auto update = buildOnlyUpdate(input);
  return singleLineText(update ? buildOnlyDescription(input, *update) : versionDescription(input));
}

}  // namespace quillon
