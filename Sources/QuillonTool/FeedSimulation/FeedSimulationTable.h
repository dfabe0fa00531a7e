#pragma once

#include <string>
#include <vector>

#include "QuillonTool/FeedSimulation/FeedSimulationReport.h"

namespace quillon {

/// The report for people: a line for each day, for each entry that was offered, and to whom. With `isHourly` a line for
/// each hour with downloads too. Texts of the feed stand in it as they are, control characters included.
[[nodiscard]] std::vector<std::string> feedSimulationTable(const FeedSimulationReport& report, bool isHourly);

}  // namespace quillon
