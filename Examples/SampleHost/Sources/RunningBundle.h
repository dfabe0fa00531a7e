#pragma once

#include "QuillonCore/Values/QuillonURL.h"

namespace sample {

/// The bundle that the running program belongs to, by its path; X.app for a program at X.app/Contents/MacOS/Program.
[[nodiscard]] quillon::QuillonURL runningBundle();

}  // namespace sample
