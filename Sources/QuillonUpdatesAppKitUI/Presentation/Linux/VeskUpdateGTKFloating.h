#pragma once

#include <gtkmm/window.h>

namespace quillon {

/// Keeps `window` above ordinary ones and on every desktop from the next time that it comes on the screen, where
/// programs can ask for that: under X11, if the window manager agrees. Wayland has no such request.
void keepFloating(Gtk::Window& window);

}  // namespace quillon
