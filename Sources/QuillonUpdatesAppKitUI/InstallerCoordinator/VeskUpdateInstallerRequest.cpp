#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerRequest.h"

#include <cstddef>
#include <string_view>
#include <utility>

#include "QuillonCore/Text/QuillonPathComponent.h"
#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonUpdatesCore/VeskUpdateFeedKeys.h"

namespace quillon {
namespace {

constexpr std::size_t kLongestFileName = 255;  // NAME_MAX of both platforms

std::string fileNameOr(const std::string& fallback, std::string_view name) {
  return isSinglePathComponent(name) && name.size() <= kLongestFileName ? std::string(name) : fallback;
}

}  // namespace

VeskUpdateInstallerRequest VeskUpdateInstallerRequest::makeFromFeed(
    const QuillonPropertyListValue::Dictionary& feedEntry, std::string applicationName,
    const VeskUpdateInstallerRequestDefaults& defaults) {
  const std::optional<QuillonURL> archiveURL =
      QuillonURL::parse(stringOrEmpty(feedEntry, VeskUpdateFeedKeys::installerURL));
  return {
      .archiveURL = archiveURL,
      .fallbackArchiveURL = std::nullopt,
      .archiveFileName =
          fileNameOr(defaults.archiveFileName, archiveURL ? archiveURL->lastPathComponent() : std::string_view()),
      .installerFileName =
          fileNameOr(defaults.installerFileName, stringOrEmpty(feedEntry, VeskUpdateFeedKeys::installerName)),
      .applicationName = std::move(applicationName),
      .installerSubdirectoryName = defaults.installerSubdirectoryName,
  };
}

}  // namespace quillon
