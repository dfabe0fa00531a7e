#pragma once

#include <optional>
#include <string>

#include "QuillonCore/Values/QuillonPropertyListValue.h"
#include "QuillonCore/Values/QuillonURL.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleUpdateHostIdentity.h"

namespace quillon {

/// A host's request to download an update archive and install the application bundle in it.
struct VeskAppBundleUpdateRequest {
  std::optional<QuillonURL> archiveURL;
  /// Second location, tried when the first delivers nothing.
  std::optional<QuillonURL> fallbackArchiveURL;
  /// File name under which the archive is stored. Comes from a feed: whoever makes a path of it checks it first.
  std::string archiveFileName;
  /// The application's name in prompts.
  std::string applicationName;
  QuillonURL installedApplicationURL;
  VeskAppBundleUpdateHostIdentity hostIdentity;
  /// The installer command.
  std::optional<QuillonURL> helperExecutableURL;
  /// Name of the working folder in which the archive is downloaded and unpacked.
  std::string installerSubdirectoryName;
  std::optional<std::string> failureReportAttemptIdentifier;

  /// A request for the archive that a feed entry names. An entry without a usable location gives a request without
  /// `archiveURL`.
  [[nodiscard]] static VeskAppBundleUpdateRequest makeFromFeed(
      const QuillonPropertyListValue::Dictionary& feedEntry, std::string applicationName,
      QuillonURL installedApplicationURL, VeskAppBundleUpdateHostIdentity hostIdentity,
      std::optional<QuillonURL> helperExecutableURL, std::string installerSubdirectoryName,
      std::optional<std::string> failureReportAttemptIdentifier);

  friend bool operator==(const VeskAppBundleUpdateRequest&, const VeskAppBundleUpdateRequest&) = default;
};

}  // namespace quillon
