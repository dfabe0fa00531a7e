#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateGTKToolkit.h"

#include <gtk/gtk.h>
#include <gtkmm/init.h>

namespace quillon {

bool startGTKToolkit() {
  if (gtk_init_check() == FALSE) return false;
  Gtk::init_gtkmm_internals();
  return true;
}

}  // namespace quillon
