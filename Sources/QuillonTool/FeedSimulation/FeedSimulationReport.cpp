#include "QuillonTool/FeedSimulation/FeedSimulationReport.h"

#include <algorithm>
#include <string_view>

#include "QuillonCore/Text/QuillonScalars.h"
#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonUpdatesCore/VeskUpdateFeedKeys.h"

namespace quillon {
namespace {

constexpr std::size_t kLongestLabel = 40;

/// The first characters of `text`, with an ellipsis for the rest.
std::string shortened(std::string_view text) {
  std::string_view rest = text;
  std::size_t ellipsisAt = 0;
  for (std::size_t count = 0; count < kLongestLabel && !rest.empty(); ++count) {
    if (count + 1 == kLongestLabel) ellipsisAt = text.size() - rest.size();
    (void)takeFirstScalar(rest);
  }
  if (rest.empty()) return std::string(text);
  return std::string(text.substr(0, ellipsisAt)).append("\u2026");
}

}  // namespace

FeedSimulationReport::Day FeedSimulationReport::day(std::size_t index) const {
  const FeedSimulationPeriod::Day& period = model.period().days()[index];
  Day day;
  for (std::int64_t i = 0; i < period.hourCount; ++i) {
    const FeedSimulationResult::Hour& hour = result.hours[static_cast<std::size_t>(period.firstHour + i)];
    day.checks += hour.checks;
    day.downloads += hour.downloads;
    day.bytes += hour.bytes;
    day.mostDownloadsInAnHour = std::max(day.mostDownloadsInAnHour, hour.downloads);
  }
  for (const auto& [state, counts] : result.installsByState) {
    if (model.states().entryOf(state)) day.updated += counts[index];
  }
  return day;
}

std::int64_t FeedSimulationReport::offers(std::size_t entry, std::size_t dayIndex) const {
  const auto found = result.offersByEntry.find(entry);
  return found == result.offersByEntry.end() ? 0 : found->second.byDay[dayIndex];
}

std::string FeedSimulationReport::entryLabel(std::size_t index) const {
  const std::size_t state = model.states().stateAfterEntry(index);
  if (model.states().version(state)) return shortened(model.states().label(state));
  const std::string_view identifier = stringOrEmpty(model.feed().at(index), VeskUpdateFeedKeys::uid);
  return identifier.empty() ? model.states().label(state) : shortened(identifier);
}

bool FeedSimulationReport::knowsBytes() const {
  return std::ranges::all_of(result.offersByEntry, [this](const auto& offers) {
    return model.archiveSizes().bytes(offers.first).has_value();
  });
}

std::string FeedSimulationReport::limits() {
  return "Not modelled: downloads and installations that fail or wait, checks by hand, reminders, the interval of an "
         "entry. Every install that is offered an update takes it at once.";
}

}  // namespace quillon
