#pragma once

#include <string>

#include "QuillonTool/FeedSimulation/FeedSimulationReport.h"

namespace quillon {

/// The whole report as one JSON object: the figures of every hour, day and entry, and the installed versions at the end
/// of each day. Bytes are null where the size of an archive is not known.
[[nodiscard]] std::string feedSimulationJSON(const FeedSimulationReport& report);

}  // namespace quillon
