#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillon {

/// Accessibility identifiers by which the parts of an alert are found. A button's is `button` and its index:
/// "…button0".
namespace VeskUpdateAlertIdentifiers {
inline constexpr std::string_view window = "VeskUpdateAlertPresenter.window";
inline constexpr std::string_view titleLabel = "VeskUpdateAlertPresenter.titleLabel";
inline constexpr std::string_view bodyLabel = "VeskUpdateAlertPresenter.bodyLabel";
inline constexpr std::string_view suppressionCheckbox = "VeskUpdateAlertPresenter.suppressionCheckbox";
inline constexpr std::string_view button = "VeskUpdateAlertPresenter.button";
}  // namespace VeskUpdateAlertIdentifiers

enum class VeskUpdateAlertStyle { warning, informational };

/// A modal alert. All texts are plain text without control characters, `body` excepted, which can have several lines;
/// what looks like markup is none.
struct VeskUpdateAlert {
  /// The platform's own checkbox for what shall not be asked again, with another title.
  struct SuppressionCheckbox {
    std::string title;
    bool isOn = false;

    friend bool operator==(const SuppressionCheckbox&, const SuppressionCheckbox&) = default;
  };

  VeskUpdateAlertStyle style = VeskUpdateAlertStyle::warning;
  std::string title;
  std::string body;
  /// Titles, the default button first and the one for Escape last. When empty, the platform's own single button; a
  /// platform without one shows `defaultButtonTitle`.
  std::vector<std::string> buttons;
  std::string defaultButtonTitle;
  std::optional<SuppressionCheckbox> suppressionCheckbox;

  friend bool operator==(const VeskUpdateAlert&, const VeskUpdateAlert&) = default;
};

/// How a user left an alert.
struct VeskUpdateAlertAnswer {
  /// Index of the button that was pressed, 0 for the platform's own. Absent when the alert went away without one.
  std::optional<std::size_t> pressedButton;
  /// Whether the checkbox is on. Absent when the alert shows none.
  std::optional<bool> isSuppressionCheckboxOn;
};

/// Shows the alerts of a toolkit.
class VeskUpdateAlertRunning {
 public:
  virtual ~VeskUpdateAlertRunning() = default;

  /// Shows `alert` and returns when the user has answered; the main thread, on which it is called, goes on serving
  /// windows until then.
  [[nodiscard]] virtual VeskUpdateAlertAnswer run(const VeskUpdateAlert& alert) = 0;
};

}  // namespace quillon
