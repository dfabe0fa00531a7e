#pragma once

#include <cstdint>
#include <optional>

namespace quillon {

/// How much of an archive has arrived.
struct VeskUpdateInstallerDownloadProgress {
  std::int64_t bytesReceived = 0;
  /// Announced total; absent when the response announced none or less than one byte.
  std::optional<std::int64_t> expectedBytes = std::nullopt;

  /// Received share in [0, 1]; absent when the total is unknown or less than one byte.
  [[nodiscard]] std::optional<double> progressFraction() const noexcept;

  friend bool operator==(const VeskUpdateInstallerDownloadProgress&,
                         const VeskUpdateInstallerDownloadProgress&) = default;
};

}  // namespace quillon
