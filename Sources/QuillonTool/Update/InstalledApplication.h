#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "QuillonCore/Contracts/QuillonFileManaging.h"
#include "QuillonCore/Contracts/QuillonProcessRunning.h"
#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

/// What an installed application bundle says about itself in its Info.plist.
struct InstalledApplication {
  /// Key of the feed's location.
  static constexpr std::string_view feedURLKey = "QuillonUpdateFeedURL";
  /// Key of the way in which this copy was distributed, as feeds name it in VeskUpdateFeedKeys::sku.
  static constexpr std::string_view distributionKey = "QuillonUpdateDistribution";

  /// Without links.
  QuillonURL bundle;
  /// As users know it.
  std::string name;
  std::string identifier;
  std::string version;
  /// 0 when it is unknown.
  std::int64_t build = 0;
  std::optional<QuillonURL> feed;
  std::set<std::string, std::less<>> skus;

  /// Its installer command, which need not exist.
  [[nodiscard]] QuillonURL installer() const;
  /// Its launcher service, which need not exist.
  [[nodiscard]] QuillonURL launcherService(const QuillonFileManaging& fileManager) const;

  /// Throws UpdateFailure for a bundle that is missing, incomplete, or that says something that cannot be used.
  [[nodiscard]] static InstalledApplication read(const QuillonFileManaging& fileManager, const QuillonURL& bundle);
};

/// The team that has signed `bundle`, as the code-signing tool displays it; absent when it names none.
[[nodiscard]] std::optional<std::string> signingTeam(const QuillonURL& bundle, QuillonProcessRunning& processRunner,
                                                     const std::string& codeSigningToolPath);

}  // namespace quillon
