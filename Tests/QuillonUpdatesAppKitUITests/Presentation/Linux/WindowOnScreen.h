#pragma once

#include <gtest/gtest.h>
#include <gtk/gtk.h>
#include <gtkmm/stylecontext.h>
#include <gtkmm/widget.h>
#include <gtkmm/window.h>

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateGTKDescendant.h"
#include "QuillonUpdatesAppKitUITests/Presentation/Linux/VirtualDesktop.h"

namespace quillon::testing {

[[nodiscard]] inline std::vector<Gtk::Window*> windowsOnScreen() {
  std::vector<Gtk::Window*> windows;
  for (Gtk::Window* const window : Gtk::Window::list_toplevels()) {
    if (window->get_visible()) windows.push_back(window);
  }
  return windows;
}

[[nodiscard]] inline Gtk::Window& onlyWindowOnScreen() {
  const std::vector<Gtk::Window*> windows = windowsOnScreen();
  if (windows.size() != 1) throw std::runtime_error(std::to_string(windows.size()) + " windows are on the screen");
  return *windows.front();
}

/// Serves what waits, after which no window may be left, visible or not.
inline void expectNoWindowIsLeft(VirtualDesktop& desktop) {
  desktop.serveWhatWaits();
  EXPECT_TRUE(Gtk::Window::list_toplevels().empty());
}

/// The part of `window` with this identifier. Throws when it has none.
template <typename Type>
[[nodiscard]] Type& part(Gtk::Window& window, std::string_view identifier) {
  Type* const found = veskUpdateProgressDescendant<Type>(window, identifier);
  if (found == nullptr) throw std::runtime_error("The window has no " + std::string(identifier));
  return *found;
}

/// The first widget below `view` with a class that GTK or a theme gives it; null when there is none.
[[nodiscard]] inline Gtk::Widget* descendantOfClass(Gtk::Widget& view, const char* styleClass) {
  for (Gtk::Widget* child = view.get_first_child(); child != nullptr; child = child->get_next_sibling()) {
    if (child->has_css_class(styleClass)) return child;
    if (Gtk::Widget* const found = descendantOfClass(*child, styleClass)) return found;
  }
  return nullptr;
}

/// The first widget below `view` of a type; null when there is none.
template <typename Type>
[[nodiscard]] Type* descendantOfType(Gtk::Widget& view) {
  for (Gtk::Widget* child = view.get_first_child(); child != nullptr; child = child->get_next_sibling()) {
    if (auto* const candidate = dynamic_cast<Type*>(child)) return candidate;
    if (Type* const found = descendantOfType<Type>(*child)) return found;
  }
  return nullptr;
}

/// How bright the text of `widget` is, from 0 for black to 1 for white.
[[nodiscard]] inline double brightness(Gtk::Widget& widget) {
  const Gdk::RGBA colour = widget.get_style_context()->get_color();
  return (colour.get_red() + colour.get_green() + colour.get_blue()) / 3;
}

/// Where `widget` is in `window`, in pixels.
[[nodiscard]] inline graphene_rect_t bounds(Gtk::Widget& widget, Gtk::Window& window) {
  graphene_rect_t rectangle{};
  if (!gtk_widget_compute_bounds(widget.gobj(), GTK_WIDGET(window.gobj()), &rectangle)) {
    throw std::runtime_error("The widget is not in the window");
  }
  return rectangle;
}
[[nodiscard]] inline float rightEdge(Gtk::Widget& widget, Gtk::Window& window) {
  const graphene_rect_t rectangle = bounds(widget, window);
  return rectangle.origin.x + rectangle.size.width;
}

/// Text at another size than usual, as the user's desktop would set it.
class TextSize {
 public:
  explicit TextSize(double scale) { set(static_cast<int>(scale * 96 * 1024)); }
  ~TextSize() { set(96 * 1024); }
  TextSize(const TextSize&) = delete;
  TextSize& operator=(const TextSize&) = delete;

 private:
  static void set(int resolution) { g_object_set(gtk_settings_get_default(), "gtk-xft-dpi", resolution, nullptr); }
};

/// A desktop whose user wants dark windows.
class DarkDesktop {
 public:
  DarkDesktop() { set(TRUE); }
  ~DarkDesktop() { set(FALSE); }
  DarkDesktop(const DarkDesktop&) = delete;
  DarkDesktop& operator=(const DarkDesktop&) = delete;

 private:
  static void set(gboolean isDark) {
    g_object_set(gtk_settings_get_default(), "gtk-application-prefer-dark-theme", isDark, nullptr);
  }
};

/// The direction of Arabic and Hebrew.
class RightToLeft {
 public:
  RightToLeft() { gtk_widget_set_default_direction(GTK_TEXT_DIR_RTL); }
  ~RightToLeft() { gtk_widget_set_default_direction(GTK_TEXT_DIR_LTR); }
  RightToLeft(const RightToLeft&) = delete;
  RightToLeft& operator=(const RightToLeft&) = delete;
};

}  // namespace quillon::testing
