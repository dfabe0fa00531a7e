#pragma once

#include <functional>
#include <memory>
#include <string>

#include "QuillonCore/Contracts/QuillonMonotonicTime.h"
#include "QuillonUpdatesAppKitUI/Presentation/Terminal/VeskUpdateTerminal.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateProgressWindowMaking.h"

namespace quillon {

/// Shows progress in a terminal: a bar that is drawn in place, with the texts of the presenter, the share that is done
/// and how fast it grows; in a file or pipe a line for each step and for each tenth of it. The button is a question.
///
/// The speed is in percent a second: what a progress window is told of sizes is finished text in the user's language,
/// and a share. How many bytes that share stands for it never learns.
class VeskUpdateTerminalProgressWindows final : public VeskUpdateProgressWindowMaking {
 public:
  /// `nobodyAnswers` is called, once for each question, when the button is offered and the input has ended or ends:
  /// nobody can press it any more, and the host cancels the update. Without it the offer stays.
  VeskUpdateTerminalProgressWindows(std::shared_ptr<VeskUpdateTerminal> terminal,
                                    QuillonMonotonicTimeProvider monotonicTime,
                                    std::function<void()> nobodyAnswers = nullptr);

  [[nodiscard]] std::shared_ptr<VeskUpdateProgressWindow> makeProgressWindow(const std::string& windowTitle) override;

 private:
  const std::shared_ptr<VeskUpdateTerminal> terminal_;
  const QuillonMonotonicTimeProvider monotonicTime_;
  const std::function<void()> nobodyAnswers_;
};

}  // namespace quillon
