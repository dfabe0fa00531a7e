#pragma once

#include <memory>

#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdatePromptWindow.h"

namespace quillon {

/// Makes prompts with GTK, and their pages with WebKitGTK. The desktop decides where a window stands.
class VeskUpdateGTKPromptWindows final : public VeskUpdatePromptWindowMaking {
 public:
  enum class PageScripts { denied, allowed };

  /// Images are looked up in `imagesFolder`, as "<name>.svg" or "<name>.png", and then among the icons of the desktop.
  explicit VeskUpdateGTKPromptWindows(QuillonURL imagesFolder, PageScripts pageScripts = PageScripts::denied);

  [[nodiscard]] std::shared_ptr<VeskUpdatePromptWindow> makePromptWindow(
      const VeskUpdatePromptContent& content, VeskUpdatePromptWindowDelegate& delegate) override;

 private:
  const QuillonURL imagesFolder_;
  const PageScripts pageScripts_;
};

}  // namespace quillon
