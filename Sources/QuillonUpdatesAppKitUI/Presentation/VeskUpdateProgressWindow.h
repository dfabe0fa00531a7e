#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace quillon {

/// Accessibility identifiers by which the parts of the window are found.
namespace VeskUpdateProgressWindowIdentifiers {
inline constexpr std::string_view titleLabel = "VeskUpdateProgressWindowPresenter.titleLabel";
inline constexpr std::string_view statusLabel = "VeskUpdateProgressWindowPresenter.statusLabel";
inline constexpr std::string_view progressIndicator = "VeskUpdateProgressWindowPresenter.progressIndicator";
inline constexpr std::string_view actionButton = "VeskUpdateProgressWindowPresenter.actionButton";
}  // namespace VeskUpdateProgressWindowIdentifiers

/// The progress window of a toolkit: it sets properties and decides nothing. On the main thread only; destroying the
/// last reference to it closes it.
class VeskUpdateProgressWindow {
 public:
  virtual ~VeskUpdateProgressWindow() = default;

  /// Whether the window still holds a progress bar.
  [[nodiscard]] virtual bool hasProgressContent() const = 0;
  /// Puts the labels, the bar and the button into the window, in place of whatever it holds: empty texts, the status
  /// label and the button hidden, the bar indeterminate and, while the window is on the screen, moving.
  virtual void configureProgressContent() = 0;

  virtual void setTitleText(const std::string& text) = 0;
  virtual void setStatusText(const std::string& text) = 0;
  virtual void setStatusHidden(bool hidden) = 0;
  /// `fraction` is in [0, 1].
  virtual void showDeterminateProgress(double fraction) = 0;
  /// The bar's value is 0. Whether it moves again after a fraction was shown is the toolkit's affair.
  virtual void showIndeterminateProgress() = 0;

  virtual void hideAndDisableActionButton() = 0;
  /// Shows the button, enabled and as wide as its title needs. A press disables it at once and then calls `action`;
  /// it can be pressed again only after another call of this function.
  virtual void showActionButton(const std::string& title, std::function<void()> action) = 0;

  /// Makes the window visible, centred on the screen, in front and with the keyboard.
  virtual void show() = 0;
  /// Takes the window off the screen. Allowed at any moment and more than once.
  virtual void close() = 0;
};

}  // namespace quillon
