#pragma once

#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

/// What a replacement did.
struct VeskAppBundleReplacementResult {
  QuillonURL installedApplicationURL;
  /// Where the old bundle was kept meanwhile; removed by the time of the result.
  QuillonURL backupApplicationURL;

  friend bool operator==(const VeskAppBundleReplacementResult&, const VeskAppBundleReplacementResult&) = default;
};

}  // namespace quillon
