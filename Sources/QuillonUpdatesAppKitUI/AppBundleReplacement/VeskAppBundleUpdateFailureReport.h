#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace quillon {

/// What the installer leaves behind for the host when it fails.
struct VeskAppBundleUpdateFailureReport {
  std::string errorDescription;
  std::chrono::sys_time<std::chrono::microseconds> failedAt;
  std::optional<std::string> attemptIdentifier;

  /// The report as a binary property list: "errorDescription" (string), "failedAt" (date), and "attemptIdentifier"
  /// (string) when there is one.
  [[nodiscard]] std::string encoded() const;
  /// A report from a property list of any format. Throws QuillonError for anything else, and for a list without the
  /// first two keys.
  [[nodiscard]] static VeskAppBundleUpdateFailureReport decoded(std::string_view bytes);

  friend bool operator==(const VeskAppBundleUpdateFailureReport&, const VeskAppBundleUpdateFailureReport&) = default;
};

}  // namespace quillon
