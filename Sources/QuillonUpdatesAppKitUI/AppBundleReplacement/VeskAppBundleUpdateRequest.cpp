#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleUpdateRequest.h"

#include <utility>

#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonUpdatesCore/VeskUpdateFeedKeys.h"

namespace quillon {

VeskAppBundleUpdateRequest VeskAppBundleUpdateRequest::makeFromFeed(
    const QuillonPropertyListValue::Dictionary& feedEntry, std::string applicationName,
    QuillonURL installedApplicationURL, VeskAppBundleUpdateHostIdentity hostIdentity,
    std::optional<QuillonURL> helperExecutableURL, std::string installerSubdirectoryName,
    std::optional<std::string> failureReportAttemptIdentifier) {
  const std::optional<QuillonURL> archiveURL =
      QuillonURL::parse(stringOrEmpty(feedEntry, VeskUpdateFeedKeys::appBundleInstallerURL));
  return {
      .archiveURL = archiveURL,
      .fallbackArchiveURL = std::nullopt,
      .archiveFileName = archiveURL ? std::string(archiveURL->lastPathComponent()) : std::string(),
      .applicationName = std::move(applicationName),
      .installedApplicationURL = std::move(installedApplicationURL),
      .hostIdentity = std::move(hostIdentity),
      .helperExecutableURL = std::move(helperExecutableURL),
      .installerSubdirectoryName = std::move(installerSubdirectoryName),
      .failureReportAttemptIdentifier = std::move(failureReportAttemptIdentifier),
  };
}

}  // namespace quillon
