#pragma once

#include <string_view>

namespace quillon {

/// Keys of a feed entry, all read as strings.
struct VeskUpdateFeedKeys {
  static constexpr std::string_view type = "type";
  /// The value of `type` that marks an update entry.
  static constexpr std::string_view updateType = "update";
  /// Installed application versions that the entry applies to: low-high, or a single low version.
  static constexpr std::string_view version = "version";
  /// The same field, read as the identifier of an entry without `uid`.
  static constexpr std::string_view feedVersionID = "version";
  static constexpr std::string_view uid = "id";
  static constexpr std::string_view sku = "sku";
  static constexpr std::string_view language = "lang";
  static constexpr std::string_view os = "os";
  static constexpr std::string_view currentVersion = "current";
  static constexpr std::string_view currentBuild = "currentbuild";
  static constexpr std::string_view mustUpdate = "mustupdate";
  static constexpr std::string_view important = "important";
  static constexpr std::string_view releaseDate = "releasedate";
  static constexpr std::string_view interval = "interval";
  static constexpr std::string_view url = "url";
  static constexpr std::string_view title = "title";
  static constexpr std::string_view size = "size";
  static constexpr std::string_view installerURL = "installer";
  /// Download location of the zipped application bundle that is installed in place.
  static constexpr std::string_view appBundleInstallerURL = "app-installer";
  static constexpr std::string_view installerName = "installer-name";
};

}  // namespace quillon
