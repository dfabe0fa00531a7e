#pragma once

#include <memory>

#include "QuillonUpdatesAppKitUI/Presentation/Terminal/VeskUpdateTerminal.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdatePromptWindow.h"

namespace quillon {

/// Shows prompts in a terminal: their texts, the location of the release notes, and the buttons as a question. Escape,
/// and the end of the input, remind later.
class VeskUpdateTerminalPromptWindows final : public VeskUpdatePromptWindowMaking {
 public:
  explicit VeskUpdateTerminalPromptWindows(std::shared_ptr<VeskUpdateTerminal> terminal);

  [[nodiscard]] std::shared_ptr<VeskUpdatePromptWindow> makePromptWindow(
      const VeskUpdatePromptContent& content, VeskUpdatePromptWindowDelegate& delegate) override;

 private:
  const std::shared_ptr<VeskUpdateTerminal> terminal_;
};

}  // namespace quillon
