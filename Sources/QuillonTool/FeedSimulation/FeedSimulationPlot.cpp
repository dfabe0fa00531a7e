#include "QuillonTool/FeedSimulation/FeedSimulationPlot.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "QuillonCore/Text/CountedNoun.h"
#include "QuillonTool/FeedDay.h"
#include "QuillonTool/FeedSimulation/PlotScale.h"
#include "QuillonTool/FeedSimulation/SVGText.h"

namespace quillon {
namespace {

/// Colours are written out: not every viewer knows variables.
constexpr std::string_view kStyle = R"(<style>
  svg { font: 13px sans-serif; }
  .title { font-size: 18px; font-weight: bold; }
  .panel { font-weight: bold; }
  .grid, .axis { stroke-width: 1; }
  .line { fill: none; stroke-width: 2; stroke-linejoin: round; }
  .paper { fill: #ffffff; }
  text { fill: #1f2328; }
  .axis { stroke: #1f2328; }
  .grid { stroke: #d8dee4; }
  .c0 { stroke: #0969da; } .c1 { stroke: #bc4c00; } .c2 { stroke: #1a7f37; } .c3 { stroke: #8250df; }
  .c4 { stroke: #bf3989; } .c5 { stroke: #7d6608; } .c6 { stroke: #57606a; }
  @media (prefers-color-scheme: dark) {
    .paper { fill: #0d1117; }
    text { fill: #e6edf3; }
    .axis { stroke: #e6edf3; }
    .grid { stroke: #30363d; }
    .c0 { stroke: #58a6ff; } .c1 { stroke: #f0883e; } .c2 { stroke: #3fb950; } .c3 { stroke: #bc8cff; }
    .c4 { stroke: #f778ba; } .c5 { stroke: #d29922; } .c6 { stroke: #8b949e; }
  }
</style>
)";

constexpr double kWidth = 960;
constexpr double kLeft = 90;
constexpr double kPlotWidth = 620;
constexpr double kPlotHeight = 180;
constexpr double kTop = 90;
constexpr double kPanelDistance = 270;
constexpr double kLegend = kLeft + kPlotWidth + 20;
/// More lines than that nobody tells apart.
constexpr std::size_t kMostEntries = 6;

struct Point {
  double day = 0;
  double value = 0;
};

struct Line {
  std::string name;
  std::vector<Point> points;

  [[nodiscard]] double largest() const {
    double largest = 0;
    for (const Point& point : points) largest = std::max(largest, point.value);
    return largest;
  }
};

struct Panel {
  std::string title;
  std::string unit;
  std::vector<Line> lines;
};

std::string coordinate(double value) {
  std::array<char, 64> digits{};
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value, std::chars_format::fixed, 1);
  return {digits.data(), end.ptr};
}

/// A text at (`x`, `y`), with more `attributes`.
std::string textElement(double x, double y, std::string_view attributes, std::string_view text) {
  return "<text x=\"" + coordinate(x) + "\" y=\"" + coordinate(y) + "\" " + std::string(attributes) + ">" +
         svgText(text) + "</text>\n";
}

std::string lineElement(std::string_view kind, double x1, double y1, double x2, double y2) {
  return "<line class=\"" + std::string(kind) + "\" x1=\"" + coordinate(x1) + "\" y1=\"" + coordinate(y1) + "\" x2=\"" +
         coordinate(x2) + "\" y2=\"" + coordinate(y2) + "\"/>\n";
}

/// The attribute that draws line `index` of a panel in its colour.
std::string lineClass(std::size_t index) {
  return "class=\"line c" + std::to_string(index) + "\"";
}

/// Draws one panel below another.
class PanelDrawing {
 public:
  PanelDrawing(const Panel& panel, double top, double days)
      : panel_(panel), bottom_(top + kPlotHeight), days_(days, 12), values_(largestValue(panel), 5) {}

  [[nodiscard]] std::string content(std::string_view daysLabel) const {
    std::string svg = textElement(kLeft, bottom_ - kPlotHeight - 14, "class=\"panel\"", panel_.title);
    for (const double value : values_.values()) {
      svg += lineElement("grid", kLeft, y(value), kLeft + kPlotWidth, y(value));
      svg += textElement(kLeft - 8, y(value) + 4, "text-anchor=\"end\"", scaledNumber(value));
    }
    for (const double day : days_.values()) {
      svg += lineElement("axis", x(day), bottom_, x(day), bottom_ + 5);
      svg += textElement(x(day), bottom_ + 20, "text-anchor=\"middle\"", scaledNumber(day));
    }
    svg += lineElement("axis", kLeft, bottom_, kLeft + kPlotWidth, bottom_);
    svg += lineElement("axis", kLeft, bottom_ - kPlotHeight, kLeft, bottom_);
    svg += textElement(kLeft + kPlotWidth / 2, bottom_ + 40, "text-anchor=\"middle\"", daysLabel);
    const double middle = bottom_ - kPlotHeight / 2;
    svg += textElement(20, middle, "text-anchor=\"middle\" transform=\"rotate(-90 20.0 " + coordinate(middle) + ")\"",
                       panel_.unit);
    for (std::size_t i = 0; i < panel_.lines.size(); ++i) svg += lineContent(i);
    return svg;
  }

 private:
  static double largestValue(const Panel& panel) {
    double largest = 0;
    for (const Line& line : panel.lines) largest = std::max(largest, line.largest());
    return largest;
  }

  [[nodiscard]] double x(double day) const { return kLeft + kPlotWidth * day / days_.end(); }
  [[nodiscard]] double y(double value) const { return bottom_ - kPlotHeight * value / values_.end(); }

  /// The line and its place in the legend.
  [[nodiscard]] std::string lineContent(std::size_t index) const {
    std::string svg = "<polyline " + lineClass(index) + " points=\"";
    for (const Point& point : panel_.lines[index].points) {
      svg.append(coordinate(x(point.day))).append(",").append(coordinate(y(point.value))).append(" ");
    }
    const double row = bottom_ - kPlotHeight + 10 + 22 * static_cast<double>(index);
    svg.append("\"/>\n<line ").append(lineClass(index));
    svg.append(" x1=\"" + coordinate(kLegend) + "\" y1=\"" + coordinate(row) + "\" x2=\"" + coordinate(kLegend + 20) +
               "\" y2=\"" + coordinate(row) + "\"/>\n");
    // A long name must not run out of the drawing.
    constexpr std::size_t kRoom = 25;
    const bool isLong = panel_.lines[index].name.size() > kRoom;
    constexpr std::string_view kSqueezed = R"(textLength="175" lengthAdjust="spacingAndGlyphs")";
    return svg + textElement(kLegend + 28, row + 4, isLong ? kSqueezed : "", panel_.lines[index].name);
  }

  const Panel& panel_;
  double bottom_;
  PlotScale days_;
  PlotScale values_;
};

template <typename Value>
Panel hourPanel(const FeedSimulationReport& report, std::string title, std::string unit, Value value) {
  Line line{.name = "all entries", .points = {}};
  const std::vector<FeedSimulationResult::Hour>& hours = report.result.hours;
  for (std::size_t i = 0; i < hours.size(); ++i) {
    line.points.push_back({.day = static_cast<double>(i) / 24, .value = static_cast<double>(hours[i].*value)});
  }
  return {.title = std::move(title), .unit = std::move(unit), .lines = {std::move(line)}};
}

/// The share of installs that are in the states of `entries` at the end of each day, in percent.
Line shareLine(const FeedSimulationReport& report, std::string name, const std::vector<std::size_t>& entries) {
  Line line{.name = std::move(name), .points = {{.day = 0, .value = 0}}};
  const std::size_t days = report.model.period().days().size();
  for (std::size_t day = 0; day < days; ++day) {
    std::int64_t installs = 0;
    for (const std::size_t entry : entries) {
      installs += report.result.installsByState.at(report.model.states().stateAfterEntry(entry))[day];
    }
    line.points.push_back({.day = static_cast<double>(day + 1),
                           .value = 100 * static_cast<double>(installs) / static_cast<double>(report.installs)});
  }
  return line;
}

/// A line for each of the entries that were offered most, and one for all others.
Panel sharePanel(const FeedSimulationReport& report) {
  std::vector<std::size_t> entries;
  for (const auto& [entry, offers] : report.result.offersByEntry) entries.push_back(entry);
  std::ranges::stable_sort(entries, std::ranges::greater(),
                           [&report](std::size_t entry) { return report.result.offersByEntry.at(entry).total(); });
  Panel panel{.title = "Installs last updated by an entry", .unit = "% of installs", .lines = {}};
  const std::size_t shown = std::min(entries.size(), kMostEntries);
  for (std::size_t i = 0; i < shown; ++i) {
    panel.lines.push_back(shareLine(report, report.entryLabel(entries[i]), {entries[i]}));
  }
  entries.erase(entries.begin(), entries.begin() + static_cast<std::ptrdiff_t>(shown));
  if (!entries.empty()) panel.lines.push_back(shareLine(report, "other entries", entries));
  return panel;
}

}  // namespace

std::string feedSimulationPlot(const FeedSimulationReport& report, std::string_view title) {
  using Hour = FeedSimulationResult::Hour;
  std::vector<Panel> panels = {hourPanel(report, "Downloads", "installs per hour", &Hour::downloads)};
  if (report.knowsBytes() && !report.result.offersByEntry.empty()) {
    panels.push_back(hourPanel(report, "Traffic", "bytes per hour", &Hour::bytes));
  }
  panels.push_back(sharePanel(report));

  const auto& days = report.model.period().days();
  const std::string daysLabel = "days from " + feedDayText(days.front().date);
  const std::string height = coordinate(kTop + kPanelDistance * static_cast<double>(panels.size()));
  const std::string width = coordinate(kWidth);
  std::string svg = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" +
                    width + "\" height=\"" + height + "\" viewBox=\"0 0 " + width + " " + height +
                    "\" role=\"img\">\n<title>" + svgText(title) + "</title>\n";
  svg.append(kStyle).append("<rect class=\"paper\" width=\"100%\" height=\"100%\"/>\n");
  svg += textElement(kLeft, 34, "class=\"title\"", title);
  svg += textElement(kLeft, 54, "",
                     countedNoun(report.installs, "install", "installs") + ", seed " + std::to_string(report.seed));
  for (std::size_t i = 0; i < panels.size(); ++i) {
    const double top = kTop + 20 + kPanelDistance * static_cast<double>(i);
    svg += PanelDrawing(panels[i], top, static_cast<double>(days.size())).content(daysLabel);
  }
  return svg + "</svg>\n";
}

}  // namespace quillon
