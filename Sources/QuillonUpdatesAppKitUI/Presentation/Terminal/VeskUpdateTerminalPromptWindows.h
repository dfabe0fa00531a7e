#pragma once

#include <functional>
#include <memory>
#include <string>

#include "QuillonUpdatesAppKitUI/Presentation/Terminal/VeskUpdateTerminal.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdatePromptWindow.h"

namespace quillon {

/// Shows prompts in a terminal: their texts, the location of the release notes, the notes themselves where the host has
/// them, and the buttons as a question. Escape, and the end of the input, remind later.
class VeskUpdateTerminalPromptWindows final : public VeskUpdatePromptWindowMaking {
 public:
  /// The release notes at a location as plain text, in which control characters do no harm; empty for none. Called on
  /// the main thread.
  using ReleaseNotesText = std::function<std::string(const QuillonURL&)>;

  explicit VeskUpdateTerminalPromptWindows(std::shared_ptr<VeskUpdateTerminal> terminal,
                                           ReleaseNotesText releaseNotesText = nullptr);

  [[nodiscard]] std::shared_ptr<VeskUpdatePromptWindow> makePromptWindow(
      const VeskUpdatePromptContent& content, VeskUpdatePromptWindowDelegate& delegate) override;

 private:
  const std::shared_ptr<VeskUpdateTerminal> terminal_;
  const ReleaseNotesText releaseNotesText_;
};

}  // namespace quillon
