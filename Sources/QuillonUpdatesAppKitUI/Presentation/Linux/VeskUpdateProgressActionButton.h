#pragma once

#include <gtkmm/button.h>

#include <functional>

namespace quillon {

/// A push button that can be pressed once: a press disables it, and then calls its handler.
class VeskUpdateProgressActionButton final : public Gtk::Button {
 public:
  /// Called when the button is pressed, if there is one. It may destroy the button.
  std::function<void()> actionHandler;

 protected:
  void on_clicked() override;
};

}  // namespace quillon
