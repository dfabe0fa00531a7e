#pragma once

#include <memory>
#include <string>

#include "QuillonCore/Contracts/QuillonMonotonicTime.h"
#include "QuillonUpdatesAppKitUI/Presentation/Terminal/VeskUpdateTerminal.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateProgressWindowMaking.h"

namespace quillon {

/// Shows progress in a terminal: a bar that is drawn in place, with the texts of the presenter, the share that is done
/// and how fast it grows; in a file or pipe a line for each step and for each tenth of it. The button is a question.
class VeskUpdateTerminalProgressWindows final : public VeskUpdateProgressWindowMaking {
 public:
  VeskUpdateTerminalProgressWindows(std::shared_ptr<VeskUpdateTerminal> terminal,
                                    QuillonMonotonicTimeProvider monotonicTime);

  [[nodiscard]] std::shared_ptr<VeskUpdateProgressWindow> makeProgressWindow(const std::string& windowTitle) override;

 private:
  const std::shared_ptr<VeskUpdateTerminal> terminal_;
  const QuillonMonotonicTimeProvider monotonicTime_;
};

}  // namespace quillon
