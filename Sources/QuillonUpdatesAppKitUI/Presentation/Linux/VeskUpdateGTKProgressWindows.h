#pragma once

#include <memory>
#include <string>

#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateProgressWindowMaking.h"

namespace quillon {

/// Makes progress windows with GTK. The desktop decides where a window stands, and Wayland whether it floats. A window
/// stays on the screen while the application is in the background: GTK has no such notice for a single window.
class VeskUpdateGTKProgressWindows final : public VeskUpdateProgressWindowMaking {
 public:
  [[nodiscard]] std::shared_ptr<VeskUpdateProgressWindow> makeProgressWindow(const std::string& windowTitle) override;
};

}  // namespace quillon
