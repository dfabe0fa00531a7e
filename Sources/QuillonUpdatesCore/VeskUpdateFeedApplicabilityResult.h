#pragma once

#include <optional>
#include <string>

#include "QuillonCore/Values/QuillonDate.h"

namespace quillon {

/// Whether an entry concerns an installation, and as what.
struct VeskUpdateFeedApplicabilityResult {
  bool shouldProcessFeed = false;
  /// The entry offers a newer version.
  bool isUpdate = false;
  /// The entry offers a newer build of the same version.
  bool isNewBuild = false;
  bool isBetaUpdate = false;
  /// First moment of the release day; the distant past when the entry has no valid one.
  QuillonDate releaseDate = kDistantPast;
  /// What identifies the entry when a host remembers it; absent when nothing does.
  std::optional<std::string> resolvedFeedIdentifier;

  friend bool operator==(const VeskUpdateFeedApplicabilityResult&, const VeskUpdateFeedApplicabilityResult&) = default;
};

}  // namespace quillon
