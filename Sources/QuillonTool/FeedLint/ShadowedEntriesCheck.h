#pragma once

#include <vector>

#include "QuillonTool/FeedLint/FeedFinding.h"
#include "QuillonUpdatesCore/VeskUpdateFeed.h"

namespace quillon {

/// Adds findings about update entries that no installation is offered, because an earlier entry is offered wherever
/// they would be; and about those that are offered only while an earlier one waits for its reminder.
///
/// What is reported is so for every host whose roll-out takes at most a million days, in every time zone that has the
/// release days, and as long as no check bypasses the ranges. Not everything that is so is
/// reported: an entry that only several others together shadow is not found, nor one whose bounds are no plain versions
/// (see FeedVersionRange), and of many earlier entries with the same "sku" and "lang" only the first few are looked
/// at. So time grows with the number of entries, not with its square.
void checkShadowedEntries(const VeskUpdateFeed& feed, std::vector<FeedFinding>& findings);

}  // namespace quillon
