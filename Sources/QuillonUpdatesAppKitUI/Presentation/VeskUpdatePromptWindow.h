#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "QuillonCore/Values/QuillonURL.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdatePromptNavigation.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdatePromptWindowSize.h"

namespace quillon {

/// Accessibility identifiers by which the parts of the prompt are found.
namespace VeskUpdatePromptWindowIdentifiers {
inline constexpr std::string_view window = "VeskUpdatePromptPresenter.window";
inline constexpr std::string_view logoImage = "VeskUpdatePromptPresenter.logoImage";
inline constexpr std::string_view titleLabel = "VeskUpdatePromptPresenter.titleLabel";
inline constexpr std::string_view descriptionLabel = "VeskUpdatePromptPresenter.descriptionLabel";
inline constexpr std::string_view releaseNotesLabel = "VeskUpdatePromptPresenter.releaseNotesLabel";
inline constexpr std::string_view releaseNotesView = "VeskUpdatePromptPresenter.releaseNotesView";
inline constexpr std::string_view installButton = "VeskUpdatePromptPresenter.installButton";
inline constexpr std::string_view remindLaterButton = "VeskUpdatePromptPresenter.remindLaterButton";
inline constexpr std::string_view dismissButton = "VeskUpdatePromptPresenter.dismissButton";
}  // namespace VeskUpdatePromptWindowIdentifiers

enum class VeskUpdatePromptButton { install, remindLater, dismiss };

/// Everything that the window shows. All texts are plain text in one line without control characters; what looks like
/// markup is none. They can be of any length: a view shortens what has no room.
struct VeskUpdatePromptContent {
  std::string windowTitle;
  std::string logoImageName;
  std::string headline;
  std::string description;
  /// Above the page.
  std::string releaseNotesTitle;
  /// The page to load. Absent when the entry names none: then there is a placeholder in its place, as when the page
  /// cannot be loaded.
  std::optional<QuillonURL> releaseNotesURL;
  /// Absent when there is no such button.
  std::optional<std::string> installButtonTitle;
  std::string remindLaterButtonTitle;
  std::string dismissButtonTitle;
  /// The button that the return key presses; absent when it presses none. The Escape key always presses
  /// VeskUpdatePromptButton::remindLater.
  std::optional<VeskUpdatePromptButton> defaultButton;
  VeskUpdatePromptWindowSize size;

  friend bool operator==(const VeskUpdatePromptContent&, const VeskUpdatePromptContent&) = default;
};

/// The prompt of a toolkit: it shows what it was made with and decides nothing. On the main thread only. The last
/// reference to it may go away inside any call to its delegate.
class VeskUpdatePromptWindow {
 public:
  virtual ~VeskUpdatePromptWindow() = default;

  /// Makes the window visible, centred on the screen, in front and with the keyboard.
  virtual void show() = 0;
  /// Takes the window off the screen; the delegate hears windowWillClose() within this call, and nothing after it.
  /// Allowed at any moment and more than once, of which only the first does anything.
  virtual void close() = 0;
};

/// Who is told what happens in a prompt, on the main thread. A window calls it until it is closed.
class VeskUpdatePromptWindowDelegate {
 public:
  virtual ~VeskUpdatePromptWindowDelegate() = default;

  virtual void installButtonPressed(const VeskUpdatePromptWindow& sender) = 0;
  virtual void remindLaterButtonPressed(const VeskUpdatePromptWindow& sender) = 0;
  virtual void dismissButtonPressed(const VeskUpdatePromptWindow& sender) = 0;
  /// Once per window, whether close() or the user closes it.
  virtual void windowWillClose(const VeskUpdatePromptWindow& sender) = 0;
  /// Whether the page may go there.
  [[nodiscard]] virtual bool shouldNavigate(const VeskUpdatePromptWindow& sender,
                                            const VeskUpdatePromptNavigation& navigation) = 0;
};

/// Makes the prompts of a toolkit.
class VeskUpdatePromptWindowMaking {
 public:
  virtual ~VeskUpdatePromptWindowMaking() = default;

  /// A window that is not visible yet. `delegate` lives until the window is closed.
  [[nodiscard]] virtual std::shared_ptr<VeskUpdatePromptWindow> makePromptWindow(
      const VeskUpdatePromptContent& content, VeskUpdatePromptWindowDelegate& delegate) = 0;
};

}  // namespace quillon
