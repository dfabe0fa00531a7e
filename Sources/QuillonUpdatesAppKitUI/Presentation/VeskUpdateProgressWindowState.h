#pragma once

#include <optional>
#include <string>

namespace quillon {

/// What the progress window shows.
struct VeskUpdateProgressWindowState {
  std::string title;
  std::optional<std::string> statusText = std::nullopt;
  /// Share in [0, 1] of the work that is done; absent while it is unknown.
  std::optional<double> progressFraction = std::nullopt;

  friend bool operator==(const VeskUpdateProgressWindowState&, const VeskUpdateProgressWindowState&) = default;
};

}  // namespace quillon
