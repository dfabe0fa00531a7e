#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "QuillonCore/Contracts/QuillonFileManaging.h"
#include "QuillonCore/Values/QuillonURL.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleUpdateHostIdentity.h"

namespace sample {

/// What this application says of itself in its Info.plist. The bundle is signed, so nobody can change where it looks
/// for updates, or whose updates it takes.
struct HostInformation {
  quillon::QuillonURL bundle;
  /// CFBundleIdentifier
  std::string identifier;
  /// CFBundleName, for users.
  std::string name;
  /// CFBundleShortVersionString
  std::string version;
  /// CFBundleVersion
  std::int64_t build = 0;
  /// QuillonUpdateFeedURL
  quillon::QuillonURL feed;
  /// QuillonUpdatePageURL: where users download the application by themselves.
  std::optional<quillon::QuillonURL> downloadPage;
  /// QuillonUpdateDistribution: how this copy is distributed, in the feed's own words; absent when the feed has none.
  std::optional<std::string> distribution;
  /// QuillonUpdateTeamIdentifier: the team that signs updates. The launcher service demands the bundle's own team in
  /// any case; with it here, a foreign update is refused before the user is asked to install it.
  std::optional<std::string> team;

  /// The bundle that the running program belongs to. Throws std::runtime_error when its Info.plist lacks an identifier
  /// or a feed: such a bundle was made wrong.
  [[nodiscard]] static HostInformation ofRunningApplication(const quillon::QuillonFileManaging& files);

  /// The name where it can be that of a folder, else the identifier: the folder of what the application keeps.
  [[nodiscard]] std::string folderName() const;
  /// What an update is compared with.
  [[nodiscard]] quillon::VeskAppBundleUpdateHostIdentity identity() const;
};

}  // namespace sample
