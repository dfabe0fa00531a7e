#pragma once

#include <memory>

#include "QuillonCore/Network/QuillonURLTransferConfiguration.h"
#include "QuillonCore/Network/QuillonURLTransferring.h"

namespace quillon {

/// The platform's URL loading: `http:`, `https:` and `file:`. It keeps no cache, and cookies only from one redirect of
/// a transfer to the next.
[[nodiscard]] std::shared_ptr<const QuillonURLTransferring> makeSystemURLTransfers(
    QuillonURLTransferConfiguration configuration = {});

}  // namespace quillon
