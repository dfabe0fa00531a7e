#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "QuillonCore/Contracts/QuillonFileManaging.h"
#include "QuillonCore/Values/QuillonURL.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateLocalizationBundle.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateProgressWindow.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateProgressWindowMaking.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateProgressWindowState.h"

namespace quillon {

/// Decides what the progress window shows. Main thread only. A window that is absent is skipped.
class VeskUpdateProgressWindowPresenter {
 public:
  /// The application at `hostBundleURL` gives the window its name; `texts` are its update texts (VeskUpdateTexts).
  VeskUpdateProgressWindowPresenter(std::shared_ptr<VeskUpdateProgressWindowMaking> windows,
                                    std::shared_ptr<const QuillonFileManaging> fileManager, QuillonURL hostBundleURL,
                                    std::shared_ptr<const VeskUpdateLocalizationBundle> texts);

  /// Makes a window that shows `title` as its first line, no status and no fraction, and puts it on the screen. Without
  /// a `windowTitle`, or one of white space only, the window is named after the application.
  [[nodiscard]] std::shared_ptr<VeskUpdateProgressWindow> showProgressWindow(
      const std::string& title, const std::optional<std::string>& windowTitle) const;

  /// Shows `state`. An offered button is withdrawn.
  void updateProgressWindow(const std::shared_ptr<VeskUpdateProgressWindow>& window,
                            const VeskUpdateProgressWindowState& state) const;

  /// Shows `title` with a full bar, and the button. `action` runs on the main thread when it is pressed.
  void showReadyToInstallAndRelaunch(const std::shared_ptr<VeskUpdateProgressWindow>& window, const std::string& title,
                                     const std::string& buttonTitle, std::function<void()> action) const;

  /// Takes the window off the screen.
  void hideProgressWindow(const std::shared_ptr<VeskUpdateProgressWindow>& window) const;

 private:
  [[nodiscard]] std::string resolvedWindowTitle(const std::optional<std::string>& windowTitle) const;
  [[nodiscard]] std::optional<std::string> hostApplicationName() const;

  const std::shared_ptr<VeskUpdateProgressWindowMaking> windows_;
  const std::shared_ptr<const QuillonFileManaging> fileManager_;
  const QuillonURL hostBundleURL_;
  const std::shared_ptr<const VeskUpdateLocalizationBundle> texts_;
};

}  // namespace quillon
