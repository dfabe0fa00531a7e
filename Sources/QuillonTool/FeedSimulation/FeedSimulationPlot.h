#pragma once

#include <string>
#include <string_view>

#include "QuillonTool/FeedSimulation/FeedSimulationReport.h"

namespace quillon {

/// The report as a drawing (SVG 1.1): downloads per hour, bytes per hour where sizes are known, and the share of
/// installs that each entry updated. `title` stands above it. Its colours follow the viewer's light or dark setting.
[[nodiscard]] std::string feedSimulationPlot(const FeedSimulationReport& report, std::string_view title);

}  // namespace quillon
