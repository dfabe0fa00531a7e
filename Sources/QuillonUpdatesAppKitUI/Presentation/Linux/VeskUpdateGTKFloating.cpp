#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateGTKFloating.h"

#include <X11/Xlib.h>
#include <gdk/x11/gdkx.h>
#include <gtk/gtk.h>

namespace quillon {
namespace {

/// `_NET_WM_STATE` of the Extended Window Manager Hints, 1.5.
constexpr long kAddState = 1;
constexpr long kSourceIsApplication = 1;

void askWindowManager(GtkWidget* window, gpointer /*data*/) {
  GdkSurface* const surface = gtk_native_get_surface(GTK_NATIVE(window));
  if (!GDK_IS_X11_SURFACE(surface)) return;
  GdkDisplay* const gdkDisplay = gdk_surface_get_display(surface);
  G_GNUC_BEGIN_IGNORE_DEPRECATIONS
  Display* const display = gdk_x11_display_get_xdisplay(gdkDisplay);
  const auto atom = [gdkDisplay](const char* name) { return gdk_x11_get_xatom_by_name_for_display(gdkDisplay, name); };
  XEvent event{};
  event.xclient.type = ClientMessage;
  event.xclient.window = gdk_x11_surface_get_xid(surface);
  event.xclient.message_type = atom("_NET_WM_STATE");
  event.xclient.format = 32;
  event.xclient.data.l[0] = kAddState;
  event.xclient.data.l[1] = static_cast<long>(atom("_NET_WM_STATE_ABOVE"));
  event.xclient.data.l[2] = static_cast<long>(atom("_NET_WM_STATE_STICKY"));
  event.xclient.data.l[3] = kSourceIsApplication;
  XSendEvent(display, gdk_x11_display_get_xrootwindow(gdkDisplay), False,
             SubstructureRedirectMask | SubstructureNotifyMask, &event);
  G_GNUC_END_IGNORE_DEPRECATIONS
}

}  // namespace

void keepFloating(Gtk::Window& window) {
  g_signal_connect_after(window.gobj(), "map", G_CALLBACK(askWindowManager), nullptr);
}

}  // namespace quillon
