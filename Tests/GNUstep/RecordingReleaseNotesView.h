#pragma once

#include <string>
#include <vector>

#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdatePromptNavigation.h"

// A view of release notes without a web engine, in the place of VeskUpdateWebKitReleaseNotesView.

namespace quillon::testing {

/// What all such views were told since this was cleared, in order: "scripts allowed" or "scripts denied" when one is
/// made, "load" with the page or without one, "stop", "gone".
std::vector<std::string>& releaseNotesCalls();

/// As if the page of the view that was made last wanted to go there. False, and nobody is asked, after "stop".
[[nodiscard]] bool navigateReleaseNotes(const VeskUpdatePromptNavigation& navigation);

}  // namespace quillon::testing
