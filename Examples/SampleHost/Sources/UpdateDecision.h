#pragma once

#include "HostInformation.h"
#include "QuillonCore/Values/QuillonDate.h"
#include "QuillonUpdatesCore/VeskUpdateFeed.h"
#include "QuillonUpdatesCore/VeskUpdateFeedPipelineResult.h"
#include "QuillonUpdatesCore/VeskUpdateMemory.h"

namespace sample {

/// The entry of `feed` that concerns this installation and is to be shown at this check, if there is one; without
/// consequences. The result refers to `feed`.
[[nodiscard]] quillon::VeskUpdateFeedPipelineResult decideOnUpdate(const quillon::VeskUpdateFeed& feed,
                                                                   const HostInformation& host,
                                                                   quillon::VeskUpdateMemory& memory,
                                                                   bool isManualCheck, quillon::QuillonDate now);

}  // namespace sample
