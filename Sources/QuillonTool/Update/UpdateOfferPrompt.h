#pragma once

#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <string>

#include "QuillonTool/Update/UpdateSession.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdatePromptPresenter.h"

namespace quillon {

/// Offers one entry in the terminal, once.
class UpdateOfferPrompt {
 public:
  /// `releaseNotes` are shown with the offer, where there are any.
  UpdateOfferPrompt(const ApplicationSession& session, std::optional<std::string> releaseNotes);
  /// Not on the main thread.
  ~UpdateOfferPrompt();
  UpdateOfferPrompt(const UpdateOfferPrompt&) = delete;
  UpdateOfferPrompt& operator=(const UpdateOfferPrompt&) = delete;

  /// Shows the offer. On the main thread.
  void present(const QuillonPropertyListValue::Dictionary& entry);
  /// Waits for what the user chooses. Throws QuillonCancellationError after a stop. Not on the main thread.
  [[nodiscard]] VeskUpdatePromptAction waitForAction();

 private:
  const ApplicationSession& session_;
  const std::optional<std::string> releaseNotes_;
  /// Shared with a prompt that may outlive this.
  const std::shared_ptr<std::promise<VeskUpdatePromptAction>> chosen_ =
      std::make_shared<std::promise<VeskUpdatePromptAction>>();
  std::shared_ptr<VeskUpdatePromptPresenter> presenter_;  // of the main thread
};

}  // namespace quillon
