#include "QuillonUpdatesCore/VeskUpdateFeed.h"

#include <utility>

namespace quillon {

VeskUpdateFeed::VeskUpdateFeed(QuillonPropertyListDocument document) noexcept : document_(std::move(document)) {}

}  // namespace quillon
