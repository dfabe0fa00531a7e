#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateGTKDescendant.h"

#include <gtk/gtk.h>

namespace quillon {

void setAccessibilityIdentifier(Gtk::Widget& view, std::string_view identifier) {
  view.set_name(std::string(identifier));
  // The builder's identifier is what GTK hands on.
  GtkBuildableIface* const buildable = GTK_BUILDABLE_GET_IFACE(view.gobj());
  buildable->set_id(GTK_BUILDABLE(view.gobj()), std::string(identifier).c_str());
}

}  // namespace quillon
