#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdatePromptInput.h"

namespace quillon {

/// An offer of a newer build of the version that runs.
struct VeskUpdatePromptBuildOnlyUpdate {
  std::string version;
  std::int64_t build = 0;

  friend bool operator==(const VeskUpdatePromptBuildOnlyUpdate&, const VeskUpdatePromptBuildOnlyUpdate&) = default;
};

/// Present when the entry's "current" is the running version character for character, the running build is at least 1
/// and "currentbuild" is a decimal integer above it.
[[nodiscard]] std::optional<VeskUpdatePromptBuildOnlyUpdate> buildOnlyUpdate(const VeskUpdatePromptInput& input);

// The texts of a prompt, each in one line and fit to be shown as plain text.

[[nodiscard]] std::string promptWindowTitle(const VeskUpdatePromptInput& input);
/// The headline.
[[nodiscard]] std::string topTitleString(const VeskUpdatePromptInput& input);
/// The description. An entry without "current" deliberately offers the version "X".
[[nodiscard]] std::string secondaryTitleString(const VeskUpdatePromptInput& input);

}  // namespace quillon
