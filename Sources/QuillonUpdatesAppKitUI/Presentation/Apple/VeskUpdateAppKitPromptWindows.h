#pragma once

#include <memory>

#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdatePromptWindow.h"

namespace quillon {

/// Makes prompts with AppKit, and their pages with WebKit. The image of a prompt is looked up by its name in the main
/// bundle and among the system's.
class VeskUpdateAppKitPromptWindows final : public VeskUpdatePromptWindowMaking {
 public:
  enum class PageScripts { denied, allowed };

  explicit VeskUpdateAppKitPromptWindows(PageScripts pageScripts = PageScripts::denied);

  [[nodiscard]] std::shared_ptr<VeskUpdatePromptWindow> makePromptWindow(
      const VeskUpdatePromptContent& content, VeskUpdatePromptWindowDelegate& delegate) override;

 private:
  const PageScripts pageScripts_;
};

}  // namespace quillon
