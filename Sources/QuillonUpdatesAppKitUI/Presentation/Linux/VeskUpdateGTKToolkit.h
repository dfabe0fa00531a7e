#pragma once

namespace quillon {

/// Connects this process to the user's display, for the windows of this folder. Called once or more, always on the
/// thread that makes and runs the windows; a host that has started GTK by itself need not call it. False where there is
/// no display: then the terminal is left.
[[nodiscard]] bool startGTKToolkit();

}  // namespace quillon
