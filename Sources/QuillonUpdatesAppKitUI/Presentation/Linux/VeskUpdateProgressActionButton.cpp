#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateProgressActionButton.h"

namespace quillon {

void VeskUpdateProgressActionButton::on_clicked() {
  set_sensitive(false);
  // A copy: the handler may set another one, or destroy this button.
  if (const std::function<void()> handler = actionHandler) handler();
}

}  // namespace quillon
