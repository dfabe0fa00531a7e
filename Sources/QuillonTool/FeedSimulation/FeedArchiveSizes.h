#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "QuillonUpdatesCore/VeskUpdateFeed.h"

namespace quillon {

/// How many bytes one download of each entry is.
class FeedArchiveSizes {
 public:
  /// An entry whose "size" is a whole number is as large as it says, any other one is `otherwise`: a "size" of the form
  /// {width, height} is that of the prompt.
  FeedArchiveSizes(const VeskUpdateFeed& feed, std::optional<std::int64_t> otherwise);

  /// Absent when nobody said how large entry `index` is.
  [[nodiscard]] std::optional<std::int64_t> bytes(std::size_t index) const noexcept { return bytes_[index]; }
  /// Throws QuillonToolUsageError when `installs` downloads of every entry are more bytes than 64 bits count.
  void requireCountable(std::int64_t installs) const;

 private:
  std::vector<std::optional<std::int64_t>> bytes_;
};

}  // namespace quillon
