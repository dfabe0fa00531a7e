#pragma once

#include <optional>
#include <string>

#include "QuillonUpdatesCore/VeskUpdateFeed.h"

namespace quillon {

/// Reads a feed. Holds no state.
class VeskUpdateFeedParser {
 public:
  /// The entries of `data`, a property list of any format whose root is an array of dictionaries; as they stand, none
  /// left out. The feed keeps the bytes. `data` is absent when a download gave nothing.
  ///
  /// Throws VeskUpdateFeedParserError: `feedFailedToParse` for bytes that are no property list, `feedNotFound` for no
  /// data, another root and an empty array.
  [[nodiscard]] VeskUpdateFeed parseFeed(std::optional<std::string> data) const;
};

}  // namespace quillon
