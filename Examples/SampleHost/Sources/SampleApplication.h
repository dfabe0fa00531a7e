#pragma once

#include "HostInformation.h"

namespace sample {

/// Runs the application with the toolkit of its platform (Linux/, Apple/): a window, a menu, and a SampleUpdater with
/// windows of the same toolkit. Returns the exit status when the user has quit, or, as AppKit does, ends the process.
[[nodiscard]] int runSampleApplication(const HostInformation& host);

}  // namespace sample
