#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string_view>

#include "QuillonCore/Contracts/QuillonWorkspaceOpening.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdatePromptAction.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdatePromptInput.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdatePromptWindow.h"

namespace quillon {

/// Shows the window that offers an update, and reports what the user chose: once for each presentation, whatever is
/// clicked or closed in which order. On the main thread only.
///
/// The window has the button that installs when the host allows it and the entry names an archive; without it the user
/// can be reminded or skip the update. A window that the user asked for has that button, or else the one that reminds,
/// on the return key. One that comes by itself has none: who is typing must not install by accident.
class VeskUpdatePromptPresenter final : public VeskUpdatePromptWindowDelegate {
 public:
  /// Called within a call of the presenter or of its window, which may then be presenting again or be destroyed. Must
  /// not throw.
  using ActionHandler = std::function<void(const VeskUpdatePromptAction&)>;

  VeskUpdatePromptPresenter(std::shared_ptr<VeskUpdatePromptWindowMaking> windowMaker,
                            std::shared_ptr<QuillonWorkspaceOpening> workspace);
  /// Closes the window. Its handler is not called any more.
  ~VeskUpdatePromptPresenter() override;
  VeskUpdatePromptPresenter(const VeskUpdatePromptPresenter&) = delete;
  VeskUpdatePromptPresenter& operator=(const VeskUpdatePromptPresenter&) = delete;

  /// Builds the window and shows it. One that is still up is cancelled first; when its handler destroys this presenter,
  /// nothing is shown and `actionHandler` is never called.
  void present(const VeskUpdatePromptInput& input, ActionHandler actionHandler);
  /// Closes the window as its close control does: the action is `dismissed`. Nothing happens without a window.
  void cancel();

  void installButtonPressed(const VeskUpdatePromptWindow& sender) override;
  void remindLaterButtonPressed(const VeskUpdatePromptWindow& sender) override;
  void dismissButtonPressed(const VeskUpdatePromptWindow& sender) override;
  void windowWillClose(const VeskUpdatePromptWindow& sender) override;
  [[nodiscard]] bool shouldNavigate(const VeskUpdatePromptWindow& sender,
                                    const VeskUpdatePromptNavigation& navigation) override;

  /// What the window of `input` shows.
  [[nodiscard]] static VeskUpdatePromptContent makeContent(const VeskUpdatePromptInput& input);
  /// The size that the entry asks for, else the default size, either made usable.
  [[nodiscard]] static VeskUpdatePromptWindowSize resolvedWindowSize(const VeskUpdatePromptInput& input);
  /// Whether the entry's value of `key` is a string of more than white space and newlines.
  [[nodiscard]] static bool hasNonEmptyStringValue(const QuillonPropertyListValue::Dictionary& feed,
                                                   std::string_view key) noexcept;

 private:
  using Feed = QuillonPropertyListValue::Dictionary;

  [[nodiscard]] bool isCurrent(const VeskUpdatePromptWindow& sender) const noexcept;
  void reportAndClose(const VeskUpdatePromptAction& action);

  const std::shared_ptr<VeskUpdatePromptWindowMaking> windowMaker_;
  const std::shared_ptr<QuillonWorkspaceOpening> workspace_;

  std::shared_ptr<VeskUpdatePromptWindow> promptWindow_;
  std::optional<Feed> displayedFeed_;
  std::optional<QuillonURL> releaseNotesURL_;
  ActionHandler actionHandler_;
  /// A window is up and no button has answered.
  bool shouldRemindOnWindowClose_ = false;
  /// Ends with this presenter, which a handler may destroy.
  const std::shared_ptr<VeskUpdatePromptPresenter*> self_ = std::make_shared<VeskUpdatePromptPresenter*>(this);
};

}  // namespace quillon
