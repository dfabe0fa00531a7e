#pragma once

#include <string_view>

#include "QuillonUpdatesCore/VeskUpdateFeedReleaseDateFormatter.h"

namespace quillon {

/// Keys of a feed entry. Their values are strings, numbers and flags included; another type counts as missing.
struct VeskUpdateFeedKeys {
  static constexpr std::string_view type = "type";
  /// The value of `type` that marks an update entry.
  static constexpr std::string_view updateType = "update";
  /// Installed application versions that the entry applies to: low-high, or a single low version.
  static constexpr std::string_view version = "version";
  /// The same field, read as the identifier of an entry without `uid`.
  static constexpr std::string_view feedVersionID = "version";
  static constexpr std::string_view uid = "id";
  /// The way of distribution that the entry is for, see VeskUpdateFeedSKU.
  static constexpr std::string_view sku = "sku";
  static constexpr std::string_view language = "lang";
  /// Versions of the operating system that the entry applies to, in the form of `version`.
  static constexpr std::string_view os = "os";
  /// The version that the entry offers, and its build number.
  static constexpr std::string_view currentVersion = "current";
  static constexpr std::string_view currentBuild = "currentbuild";
  /// An installed version to which the entry is shown without delay.
  static constexpr std::string_view mustUpdate = "mustupdate";
  /// "1" exempts the entry from staggered roll-out.
  static constexpr std::string_view important = "important";
  /// A day, as `releaseDateFormatter` reads it.
  static constexpr std::string_view releaseDate = "releasedate";
  /// Seconds until the feed is fetched again; the one key that may also be a number.
  static constexpr std::string_view interval = "interval";
  /// Page, title and size of the update prompt.
  static constexpr std::string_view url = "url";
  static constexpr std::string_view title = "title";
  static constexpr std::string_view size = "size";
  /// Download location of the archive with an installer.
  static constexpr std::string_view installerURL = "installer";
  /// Download location of the zipped application bundle that is installed in place.
  static constexpr std::string_view appBundleInstallerURL = "app-installer";
  /// File name of the installer inside its archive.
  static constexpr std::string_view installerName = "installer-name";

  /// Reads `releaseDate` as a day of `calendar`, which has to outlive the formatter.
  [[nodiscard]] static VeskUpdateFeedReleaseDateFormatter releaseDateFormatter(
      const QuillonCalendar& calendar) noexcept {
    return VeskUpdateFeedReleaseDateFormatter(calendar);
  }
};

}  // namespace quillon
