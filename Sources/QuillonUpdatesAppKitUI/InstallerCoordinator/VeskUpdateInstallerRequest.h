#pragma once

#include <optional>
#include <string>

#include "QuillonCore/Values/QuillonPropertyListValue.h"
#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

/// Names that a request has where its feed entry gives none.
struct VeskUpdateInstallerRequestDefaults {
  std::string archiveFileName = "Update.zip";
  std::string installerFileName = "Installer.pkg";
  std::string installerSubdirectoryName = "Update Installer";
};

/// A host's request to download an update archive and open the installer document in it.
struct VeskUpdateInstallerRequest {
  std::optional<QuillonURL> archiveURL;
  /// Second location, tried when the first delivers nothing.
  std::optional<QuillonURL> fallbackArchiveURL;
  /// File name under which the archive is stored.
  std::string archiveFileName;
  /// File name of the installer document in the unpacked folder.
  std::string installerFileName;
  /// The host application's name; a folder level of the working folder, left out when it is empty.
  std::string applicationName;
  /// A further folder level below that one, left out when it is empty.
  std::string installerSubdirectoryName;

  /// A request for the archive that a feed entry names as its `installerURL`; without a usable location there, one
  /// without `archiveURL`. The archive keeps the last component of that location as its name and the document is the
  /// entry's `installerName`, where these are names of a file; what is none, such as ".." or more than 255 bytes,
  /// counts as missing.
  [[nodiscard]] static VeskUpdateInstallerRequest makeFromFeed(const QuillonPropertyListValue::Dictionary& feedEntry,
                                                               std::string applicationName,
                                                               const VeskUpdateInstallerRequestDefaults& defaults = {});

  friend bool operator==(const VeskUpdateInstallerRequest&, const VeskUpdateInstallerRequest&) = default;
};

}  // namespace quillon
