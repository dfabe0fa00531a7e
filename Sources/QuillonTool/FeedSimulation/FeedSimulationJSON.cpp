#include "QuillonTool/FeedSimulation/FeedSimulationJSON.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonTool/FeedDay.h"
#include "QuillonTool/QuillonToolJSONObject.h"
#include "QuillonUpdatesCore/VeskUpdateFeedKeys.h"

namespace quillon {
namespace {

using Object = QuillonToolJSONObject;
using Objects = std::vector<QuillonToolJSONObject>;

void addNumber(Object& object, std::string_view key, std::optional<std::int64_t> number) {
  if (number) {
    object.withNumber(key, *number);
  } else {
    object.with(key, std::nullopt);
  }
}

std::optional<std::int64_t> knownBytes(const FeedSimulationReport& report, std::int64_t bytes) {
  return report.knowsBytes() ? std::optional(bytes) : std::nullopt;
}

Objects counts(const FeedSimulationResult::CountByValue& byValue,
               const std::function<std::string(std::size_t)>& valueName) {
  Objects objects;
  for (const auto& [value, count] : byValue) {
    objects.push_back(Object().with("value", valueName(value)).withNumber("installs", count));
  }
  return objects;
}

Object entryObject(const FeedSimulationReport& report, std::size_t entry, const FeedSimulationResult::Offers& offers) {
  const FeedPopulation& population = report.model.population();
  Object object;
  object.withNumber("index", entry)
      .with("label", report.entryLabel(entry))
      .with("title", stringOrEmpty(report.model.feed().at(entry), VeskUpdateFeedKeys::title))
      .withNumber("offers", offers.total());
  addNumber(object, "archiveSize", report.model.archiveSizes().bytes(entry));
  object.withObjects("versions", counts(offers.byState, [&](std::size_t i) { return report.model.states().label(i); }))
      .withObjects("osVersions",
                   counts(offers.byOSVersion, [&](std::size_t i) { return population.osVersions[i].value; }))
      .withObjects("languages", counts(offers.byLanguage, [&](std::size_t i) { return population.languages[i].value; }))
      .withObjects("skus", counts(offers.bySKU, [&](std::size_t i) { return population.skus[i].value; }))
      .withObjects("staggerGroups",
                   counts(offers.byStaggerGroup,
                          [&](std::size_t i) { return std::to_string(population.staggerGroups[i].value); }))
      .withNumber("betaTesters", offers.toBetaTesters);
  return object;
}

Object dayObject(const FeedSimulationReport& report, std::size_t index) {
  const FeedSimulationReport::Day day = report.day(index);
  Object object;
  object.withNumber("day", index)
      .with("date", feedDayText(report.model.period().days()[index].date))
      .withNumber("checks", day.checks)
      .withNumber("downloads", day.downloads)
      .withNumber("mostDownloadsInAnHour", day.mostDownloadsInAnHour);
  addNumber(object, "bytes", knownBytes(report, day.bytes));
  object.withNumber("updated", day.updated);
  Objects offers;
  for (const auto& [entry, total] : report.result.offersByEntry) {
    const std::int64_t count = report.offers(entry, index);
    if (count > 0) offers.push_back(Object().withNumber("entry", entry).withNumber("installs", count));
  }
  Objects installed;
  for (const auto& [state, byDay] : report.result.installsByState) {
    if (byDay[index] == 0) continue;
    Object& version = installed.emplace_back();
    version.with("version", report.model.states().label(state));
    const std::optional<std::size_t> entry = report.model.states().entryOf(state);
    addNumber(version, "updatedByEntry", entry ? std::optional(static_cast<std::int64_t>(*entry)) : std::nullopt);
    version.withNumber("installs", byDay[index]);
  }
  return object.withObjects("offers", offers).withObjects("installed", installed);
}

Objects hourObjects(const FeedSimulationReport& report) {
  Objects objects;
  const auto& days = report.model.period().days();
  for (std::size_t day = 0; day < days.size(); ++day) {
    for (std::int64_t hour = 0; hour < days[day].hourCount; ++hour) {
      const auto& figures = report.result.hours[static_cast<std::size_t>(days[day].firstHour + hour)];
      Object& object = objects.emplace_back();
      object.withNumber("day", day)
          .withNumber("hour", hour)
          .withNumber("checks", figures.checks)
          .withNumber("downloads", figures.downloads);
      addNumber(object, "bytes", knownBytes(report, figures.bytes));
    }
  }
  return objects;
}

}  // namespace

std::string feedSimulationJSON(const FeedSimulationReport& report) {
  Objects entries;
  for (const auto& [entry, offers] : report.result.offersByEntry) {
    entries.push_back(entryObject(report, entry, offers));
  }
  Objects days;
  for (std::size_t i = 0; i < report.model.period().days().size(); ++i) days.push_back(dayObject(report, i));
  return Object()
      .withNumber("installs", report.installs)
      .withNumber("seed", report.seed)
      .with("limits", FeedSimulationReport::limits())
      .withObjects("entries", entries)
      .withObjects("days", days)
      .withObjects("hours", hourObjects(report))
      .text();
}

}  // namespace quillon
