#pragma once

#include "HostInformation.h"
#include "QuillonCore/Values/QuillonDate.h"
#include "QuillonUpdatesCore/VeskUpdateFeed.h"
#include "QuillonUpdatesCore/VeskUpdateFeedPipelineResult.h"
#include "QuillonUpdatesCore/VeskUpdateFeedProcessingCandidate.h"
#include "UpdateMemory.h"

namespace sample {

/// The entry of `feed` that concerns this installation and is to be shown at this check, if there is one; without
/// consequences. The result refers to `feed`.
[[nodiscard]] quillon::VeskUpdateFeedPipelineResult decideOnUpdate(const quillon::VeskUpdateFeed& feed,
                                                                   const HostInformation& host, UpdateMemory& memory,
                                                                   bool isManualCheck, quillon::QuillonDate now);

/// Whether the user, or an administrator, has said no to this very entry. Who asks for a check is offered it again; an
/// entry that the installed version must take cannot be skipped.
[[nodiscard]] bool isWithheld(const quillon::VeskUpdateFeedProcessingCandidate& candidate, const HostInformation& host,
                              const UpdateMemory& memory);

}  // namespace sample
