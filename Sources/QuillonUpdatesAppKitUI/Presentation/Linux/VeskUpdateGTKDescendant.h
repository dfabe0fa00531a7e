#pragma once

#include <gtkmm/widget.h>

#include <string>
#include <string_view>

namespace quillon {

/// Gives `view` the identifier by which it is found: its name in the tree of widgets, and its identifier for assistive
/// technologies where GTK hands one on (4.8 does not; there they find it by role and name).
void setAccessibilityIdentifier(Gtk::Widget& view, std::string_view identifier);

/// The first view below `view`, at any depth, that has the type and the identifier; null when there is none.
template <typename Type>
[[nodiscard]] Type* veskUpdateProgressDescendant(Gtk::Widget& view, std::string_view accessibilityIdentifier) {
  for (Gtk::Widget* child = view.get_first_child(); child != nullptr; child = child->get_next_sibling()) {
    auto* const candidate = dynamic_cast<Type*>(child);
    if (candidate != nullptr && child->get_name().raw() == accessibilityIdentifier) return candidate;
    if (Type* const found = veskUpdateProgressDescendant<Type>(*child, accessibilityIdentifier)) return found;
  }
  return nullptr;
}

}  // namespace quillon
