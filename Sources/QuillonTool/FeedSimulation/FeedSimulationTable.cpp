#include "QuillonTool/FeedSimulation/FeedSimulationTable.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>

#include "QuillonCore/Text/CountedNoun.h"
#include "QuillonTool/FeedDay.h"

namespace quillon {
namespace {

using Row = std::vector<std::string>;
using Lines = std::vector<std::string>;

/// `part` of `whole` in percent with one decimal, rounded down, so that 100.0 means all.
std::string percent(std::int64_t part, std::int64_t whole) {
  // Both are at most 10^12, so that the product fits 64 bits.
  const std::int64_t tenths = part * 1000 / whole;
  return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10);
}

std::string bytesText(const FeedSimulationReport& report, std::int64_t bytes) {
  return report.knowsBytes() ? std::to_string(bytes) : "unknown";
}

/// Columns as wide as their widest cell, numbers to the right, two blanks between them; the last one, of any text, to
/// the left.
void addColumns(const std::vector<Row>& rows, Lines& lines) {
  std::vector<std::size_t> widths(rows.front().size());
  for (const Row& row : rows) {
    for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
  }
  for (const Row& row : rows) {
    std::string line;
    for (std::size_t i = 0; i + 1 < row.size(); ++i) {
      line.append(widths[i] - row[i].size(), ' ').append(row[i]).append("  ");
    }
    lines.push_back(line + row.back());
  }
}

void addDays(const FeedSimulationReport& report, Lines& lines) {
  std::vector<Row> rows = {{"Day", "Date", "Checks", "Downloads", "Most per hour", "Bytes", "Updated %", "Offers"}};
  const auto& days = report.model.period().days();
  for (std::size_t i = 0; i < days.size(); ++i) {
    const FeedSimulationReport::Day day = report.day(i);
    std::string offers;
    for (const auto& [entry, total] : report.result.offersByEntry) {
      const std::int64_t count = report.offers(entry, i);
      if (count == 0) continue;
      if (!offers.empty()) offers += ", ";
      offers.append(report.entryLabel(entry)).append(": ").append(std::to_string(count));
    }
    rows.push_back({std::to_string(i), feedDayText(days[i].date), std::to_string(day.checks),
                    std::to_string(day.downloads), std::to_string(day.mostDownloadsInAnHour),
                    bytesText(report, day.bytes), percent(day.updated, report.installs),
                    offers.empty() ? "none" : offers});
  }
  addColumns(rows, lines);
}

void addHours(const FeedSimulationReport& report, Lines& lines) {
  std::vector<Row> rows = {{"Day", "Hour", "Checks", "Downloads", "Bytes"}};
  const auto& days = report.model.period().days();
  for (std::size_t i = 0; i < days.size(); ++i) {
    for (std::int64_t hour = 0; hour < days[i].hourCount; ++hour) {
      const auto& counts = report.result.hours[static_cast<std::size_t>(days[i].firstHour + hour)];
      if (counts.downloads == 0) continue;
      rows.push_back({std::to_string(i), std::to_string(hour), std::to_string(counts.checks),
                      std::to_string(counts.downloads), bytesText(report, counts.bytes)});
    }
  }
  lines.emplace_back();
  addColumns(rows, lines);
}

/// "name: value (count), value (count)".
void addAudience(std::string_view name, const FeedSimulationResult::CountByValue& counts,
                 const std::function<std::string(std::size_t)>& valueName, Lines& lines) {
  std::string line = std::string("    ").append(name).append(": ");
  bool isFirst = true;
  for (const auto& [value, count] : counts) {
    if (!isFirst) line += ", ";
    isFirst = false;
    line.append(valueName(value)).append(" (").append(std::to_string(count)).append(")");
  }
  lines.push_back(std::move(line));
}

void addEntry(const FeedSimulationReport& report, std::size_t entry, Lines& lines) {
  const FeedSimulationResult::Offers& offers = report.result.offersByEntry.at(entry);
  const FeedPopulation& population = report.model.population();
  lines.push_back("Entry " + std::to_string(entry + 1) + ", " + report.entryLabel(entry) + ": offered to " +
                  countedNoun(offers.total(), "install", "installs") + ", " + percent(offers.total(), report.installs) +
                  " %");
  addAudience(
      "versions", offers.byState, [&report](std::size_t state) { return report.model.states().label(state); }, lines);
  addAudience(
      "systems", offers.byOSVersion, [&](std::size_t i) { return population.osVersions[i].value; }, lines);
  addAudience(
      "languages", offers.byLanguage, [&](std::size_t i) { return population.languages[i].value; }, lines);
  addAudience(
      "distributions", offers.bySKU,
      [&](std::size_t i) {
        const std::string& sku = population.skus[i].value;
        return sku.empty() ? std::string("none") : sku;
      },
      lines);
  addAudience(
      "groups", offers.byStaggerGroup, [&](std::size_t i) { return std::to_string(population.staggerGroups[i].value); },
      lines);
  lines.push_back("    betas wanted: " + std::to_string(offers.toBetaTesters));
}

}  // namespace

Lines feedSimulationTable(const FeedSimulationReport& report, bool isHourly) {
  const auto& days = report.model.period().days();
  Lines lines = {countedNoun(report.installs, "install", "installs") + ", " + countedNoun(days.size(), "day", "days") +
                     " from " + feedDayText(days.front().date) + ", seed " + std::to_string(report.seed),
                 ""};
  addDays(report, lines);
  if (isHourly) addHours(report, lines);
  lines.emplace_back();
  for (const auto& [entry, offers] : report.result.offersByEntry) addEntry(report, entry, lines);
  if (report.result.offersByEntry.empty()) lines.emplace_back("No install is offered anything.");
  lines.emplace_back();
  lines.push_back(FeedSimulationReport::limits());
  return lines;
}

}  // namespace quillon
