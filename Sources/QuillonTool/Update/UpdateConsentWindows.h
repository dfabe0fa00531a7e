#pragma once

#include <functional>
#include <memory>
#include <string>

#include "QuillonUpdatesAppKitUI/Presentation/Terminal/VeskUpdateTerminal.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateProgressWindowMaking.h"

namespace quillon {

/// Progress windows of another kind whose button is a question in a terminal that can be answered with no: whoever is
/// asked in a terminal has no window to leave alone.
class UpdateConsentWindows final : public VeskUpdateProgressWindowMaking {
 public:
  /// `declineTitle` is the choice that installs nothing; `onDecline` is called on the main thread when it is made, or
  /// when nobody will answer any more.
  UpdateConsentWindows(std::shared_ptr<VeskUpdateProgressWindowMaking> windows,
                       std::shared_ptr<VeskUpdateTerminal> terminal, std::string declineTitle,
                       std::function<void()> onDecline);

  [[nodiscard]] std::shared_ptr<VeskUpdateProgressWindow> makeProgressWindow(const std::string& windowTitle) override;

 private:
  const std::shared_ptr<VeskUpdateProgressWindowMaking> windows_;
  const std::shared_ptr<VeskUpdateTerminal> terminal_;
  const std::string declineTitle_;
  const std::function<void()> onDecline_;
};

}  // namespace quillon
