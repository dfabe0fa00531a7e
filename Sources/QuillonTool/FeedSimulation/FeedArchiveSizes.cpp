#include "QuillonTool/FeedSimulation/FeedArchiveSizes.h"

#include <algorithm>
#include <limits>

#include "QuillonCore/Text/DecimalNumber.h"
#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonTool/QuillonToolUsageError.h"
#include "QuillonUpdatesCore/VeskUpdateFeedKeys.h"

namespace quillon {

FeedArchiveSizes::FeedArchiveSizes(const VeskUpdateFeed& feed, std::optional<std::int64_t> otherwise) {
  bytes_.reserve(feed.size());
  for (const VeskUpdateFeedEntry entry : feed) {
    const auto size = decimalNumber<std::int64_t>(stringOrEmpty(entry, VeskUpdateFeedKeys::size));
    bytes_.push_back(size && *size >= 0 ? size : otherwise);
  }
}

void FeedArchiveSizes::requireCountable(std::int64_t installs) const {
  // Nobody takes an entry twice.
  std::int64_t left = std::numeric_limits<std::int64_t>::max() / installs;
  for (const std::optional<std::int64_t>& size : bytes_) {
    left -= std::min(left, size.value_or(0));
    if (left == 0)
      throw QuillonToolUsageError("So many installs of archives so large are more bytes than can be counted.");
  }
}

}  // namespace quillon
