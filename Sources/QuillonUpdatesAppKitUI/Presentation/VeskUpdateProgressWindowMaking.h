#pragma once

#include <memory>
#include <string>

#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateProgressWindow.h"

namespace quillon {

/// Makes progress windows of a toolkit.
class VeskUpdateProgressWindowMaking {
 public:
  virtual ~VeskUpdateProgressWindowMaking() = default;

  /// A window with the title `windowTitle`, without content and not yet on the screen; never null. Its content is 420 ×
  /// 132 points. It has a title bar without controls to close, minimise or resize it, floats above ordinary windows on
  /// every desktop, hides while the application is in the background, and lives on when it is closed. Where the
  /// desktop has no such thing it does without: under Linux no window hides, and under Wayland none floats. On the
  /// main thread only.
  [[nodiscard]] virtual std::shared_ptr<VeskUpdateProgressWindow> makeProgressWindow(
      const std::string& windowTitle) = 0;
};

}  // namespace quillon
