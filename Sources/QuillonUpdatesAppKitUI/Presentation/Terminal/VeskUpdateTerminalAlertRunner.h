#pragma once

#include <functional>
#include <memory>
#include <stop_token>

#include "QuillonUpdatesAppKitUI/Presentation/Terminal/VeskUpdateTerminal.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateAlert.h"

namespace quillon {

/// Shows alerts in a terminal: their texts, the buttons as a question, and the checkbox as a choice that switches it.
/// Escape, and the end of the input, press the last button.
class VeskUpdateTerminalAlertRunner final : public VeskUpdateAlertRunning {
 public:
  /// Runs what waits for the main thread, keys among it, until a stop is requested: QuillonMainThreadQueue::run().
  using ServeMainThread = std::function<void(const std::stop_token&)>;

  VeskUpdateTerminalAlertRunner(std::shared_ptr<VeskUpdateTerminal> terminal, ServeMainThread serveMainThread);

  [[nodiscard]] VeskUpdateAlertAnswer run(const VeskUpdateAlert& alert) override;

 private:
  const std::shared_ptr<VeskUpdateTerminal> terminal_;
  const ServeMainThread serveMainThread_;
};

}  // namespace quillon
