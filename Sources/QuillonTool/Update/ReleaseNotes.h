#pragma once

#include <cstddef>
#include <optional>
#include <stop_token>
#include <string>

#include "QuillonCore/Contracts/QuillonNetworkClient.h"
#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

/// A page as lines for a terminal.
struct ReleaseNotes {
  /// Longer notes are cut off, and say so.
  static constexpr std::size_t maximumLines = 40;
  static constexpr std::size_t maximumColumns = 400;
  /// Bytes of a page that are looked at.
  static constexpr std::size_t maximumPageBytes = std::size_t{256} * 1024;

  /// The notes in `page`, plain text or HTML; absent when it is neither, or says nothing.
  [[nodiscard]] static std::optional<std::string> text(const QuillonURLData& page);
  /// The notes at `url`; absent when they cannot be had in a few seconds: an offer is complete without them. Throws
  /// QuillonCancellationError after a stop.
  [[nodiscard]] static std::optional<std::string> load(const QuillonNetworkClient& network, const QuillonURL& url,
                                                       const std::stop_token& stopToken);
};

}  // namespace quillon
