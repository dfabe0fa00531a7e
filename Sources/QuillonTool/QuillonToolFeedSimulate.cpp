#include "QuillonTool/QuillonToolFeedSimulate.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "QuillonCore/Runtime/QuillonParallelFor.h"
#include "QuillonCore/Runtime/QuillonSystemCalendar.h"
#include "QuillonCore/Runtime/QuillonSystemClock.h"
#include "QuillonCore/Runtime/QuillonSystemMonotonicTime.h"
#include "QuillonCore/Text/DecimalNumber.h"
#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonTool/FeedDay.h"
#include "QuillonTool/FeedSimulation/FeedInstallCount.h"
#include "QuillonTool/FeedSimulation/FeedPopulationReader.h"
#include "QuillonTool/FeedSimulation/FeedSimulation.h"
#include "QuillonTool/FeedSimulation/FeedSimulationJSON.h"
#include "QuillonTool/FeedSimulation/FeedSimulationPlot.h"
#include "QuillonTool/FeedSimulation/FeedSimulationProgressLine.h"
#include "QuillonTool/FeedSimulation/FeedSimulationTable.h"
#include "QuillonTool/QuillonToolFeedFile.h"
#include "QuillonTool/QuillonToolFileOperand.h"
#include "QuillonTool/QuillonToolUsageError.h"
#include "QuillonUpdatesCore/VeskUpdateFeedKeys.h"

namespace quillon {
namespace {

constexpr std::string_view kHelp = R"(Usage: quillon feed simulate FILE [--installs N] [--days D] [OPTION...]

Simulates how the feed FILE reaches the installs of an application: who is
offered what, on which day, and how many downloads and bytes that is per hour.
Each install checks at intervals of its own, and the rules that hosts follow
decide what it is offered. The same arguments give the same figures.

Not modelled: downloads and installations that fail or wait, checks by hand,
reminders, the interval of an entry. Every install that is offered an update
takes it at once. Days are those of this computer's time zone.

Options:
  --installs N          Installs, 1 to 1000000000000; 1000000 by default.
  --days D              Days, 1 to 366; 30 by default.
  --start DATE          First day, as in 2024-06-10. By default the latest
                        release date in the feed, or today where it has none.
  --seed NUMBER         Draws other installs for other numbers; 1 by default.
  --archive-size BYTES  Size of a download. An entry's "size" that is a whole
                        number comes first.
  --population FILE     Property list with the population's properties.
  --versions LIST       Installed versions, VERSION or VERSION/BUILD.
  --os LIST             Versions of the operating system.
  --languages LIST      Preferred languages.
  --skus LIST           Ways of distribution; an empty word for none.
  --stagger-groups LIST Groups of the roll-out: the days that they wait.
  --check-hours LIST    Hours from one check to the next, 1 to 744.
  --beta-percent NUMBER How many of 100 want betas.
  --hourly              Show the hours with downloads too.
  --json                Print a JSON object.
  --svg FILE            Draw the figures, as an SVG file.
  --help                Print this text.

A LIST has commas between its words, and weights after "=": 2.0/200=3,1.9 are
three installs with build 200 of 2.0 for each with 1.9. By default installs are
spread evenly over the values that the feed speaks of and over the groups 0 to
6; 70 % check each day, 20 % each week, 10 % each 6 hours; 5 % want betas.

Exit status: 0 when the simulation ran, whatever it found; 1 when a file could
not be read or written; 2 for a wrong command line or population.
)";

constexpr std::size_t kLargestPopulation = std::size_t{16} << 20;
/// Pieces of work for each processor, so that no one waits long for the last piece.
constexpr std::size_t kPartsPerWorker = 8;

struct PropertyOption {
  std::string_view option;
  std::string_view property;
};
constexpr std::array<PropertyOption, 7> kPropertyOptions = {
    {{.option = "--versions", .property = "versions"},
     {.option = "--os", .property = "osVersions"},
     {.option = "--languages", .property = "languages"},
     {.option = "--skus", .property = "skus"},
     {.option = "--stagger-groups", .property = "staggerGroups"},
     {.option = "--check-hours", .property = "checkHours"},
     {.option = "--beta-percent", .property = "betaPercent"}}};

template <typename Number>
Number numberOption(const QuillonToolArguments& arguments, std::string_view option, Number least, Number most,
                    Number otherwise) {
  const std::optional<std::string> text = arguments.value(option);
  if (!text) return otherwise;
  const std::optional<Number> number = decimalNumber<Number>(*text);
  if (!number || *number < least || *number > most) {
    throw QuillonToolUsageError("Option " + std::string(option) + " needs a whole number from " +
                                std::to_string(least) + " to " + std::to_string(most) + ", not \"" + *text + "\".");
  }
  return *number;
}

std::optional<QuillonURL> fileOption(const QuillonToolArguments& arguments, std::string_view option) {
  const std::optional<std::string> path = arguments.value(option);
  return path ? std::optional(fileAt(*path, option)) : std::nullopt;
}

FeedPopulation readPopulation(const QuillonToolArguments& arguments, const VeskUpdateFeed& feed,
                              const QuillonFileManaging& fileManager) {
  FeedPopulation population = FeedPopulation::suitedTo(feed);
  const FeedPopulationReader reader{population};
  if (const auto file = fileOption(arguments, "--population")) {
    reader.readPropertyList(fileManager.contentsOfFile(fileManager.resolvingSymbolicLinks(*file), kLargestPopulation));
  }
  for (const PropertyOption& option : kPropertyOptions) {
    if (const auto text = arguments.value(option.option)) reader.readProperty(option.property, *text);
  }
  population.validate();
  return population;
}

/// The latest release date of the feed's updates, else today.
std::chrono::year_month_day defaultStart(const VeskUpdateFeed& feed, const QuillonCalendar& calendar) {
  std::optional<std::chrono::year_month_day> latest;
  for (const VeskUpdateFeedEntry entry : feed) {
    if (stringOrEmpty(entry, VeskUpdateFeedKeys::type) != VeskUpdateFeedKeys::updateType) continue;
    const auto day = feedDay(stringOrEmpty(entry, VeskUpdateFeedKeys::releaseDate));
    if (day && (!latest || *day > *latest)) latest = day;
  }
  return latest ? *latest : feedDayAt(QuillonSystemClock().now(), calendar);
}

FeedSimulationPeriod readPeriod(const QuillonToolArguments& arguments, const VeskUpdateFeed& feed,
                                const QuillonCalendar& calendar) {
  const auto days = numberOption<std::int64_t>(arguments, "--days", 1, FeedSimulationPeriod::kMostDays, 30);
  const std::optional<std::string> start = arguments.value("--start");
  if (!start) return {calendar, defaultStart(feed, calendar), days};
  const auto day = feedDay(*start);
  if (!day) throw QuillonToolUsageError("Option --start needs a day such as 2024-06-10, not \"" + *start + "\".");
  return {calendar, *day, days};
}

FeedSimulationResult runSimulation(const FeedSimulationModel& model, std::int64_t installs, std::uint64_t seed,
                                   QuillonToolConsole& console) {
  const std::size_t parts = quillonParallelForWorkerCount(std::numeric_limits<std::size_t>::max()) * kPartsPerWorker;
  if (!console.errorIsTerminal()) return simulateFeed(model, installs, seed, parts);
  FeedSimulationProgressLine line(makeSystemMonotonicTimeProvider(),
                                  [&console](std::string_view text) { console.writeToTerminal(text); });
  FeedSimulationResult result = simulateFeed(model, installs, seed, parts,
                                             [&line](std::size_t done, std::size_t total) { line.show(done, total); });
  line.clear();
  return result;
}

void print(const FeedSimulationReport& report, const QuillonToolArguments& arguments, QuillonToolConsole& console) {
  if (arguments.has("--json")) {
    console.printLine(feedSimulationJSON(report));
    return;
  }
  for (const std::string& line : feedSimulationTable(report, arguments.has("--hourly"))) console.printLine(line);
}

QuillonToolExitStatus simulate(const QuillonToolArguments& arguments, const QuillonToolServices& services,
                               QuillonToolConsole& console) {
  const QuillonURL file = fileOperand(arguments, "FILE");
  const auto installs = numberOption<std::int64_t>(arguments, "--installs", 1, kMostInstalls, 1'000'000);
  const auto seed = numberOption<std::uint64_t>(arguments, "--seed", 0, std::numeric_limits<std::uint64_t>::max(), 1);
  std::optional<std::int64_t> archiveSize;
  if (arguments.has("--archive-size")) {
    archiveSize =
        numberOption<std::int64_t>(arguments, "--archive-size", 0, std::numeric_limits<std::int64_t>::max(), 0);
  }
  const std::optional<QuillonURL> drawing = fileOption(arguments, "--svg");

  const VeskUpdateFeed feed = readFeedFile(file, *services.fileManager);
  const std::shared_ptr<const QuillonCalendar> calendar = makeSystemCalendar();
  const FeedSimulationModel model(feed, readPopulation(arguments, feed, *services.fileManager),
                                  readPeriod(arguments, feed, *calendar), archiveSize, calendar);
  model.archiveSizes().requireCountable(installs);
  const FeedSimulationResult result = runSimulation(model, installs, seed, console);
  const FeedSimulationReport report{.model = model, .result = result, .installs = installs, .seed = seed};
  if (drawing) {
    const std::string title = "Roll-out of " + std::string(file.lastPathComponent());
    services.fileManager->writeFileAtomically(*drawing, feedSimulationPlot(report, title));
  }
  print(report, arguments, console);
  return kToolSuccess;
}

}  // namespace

QuillonToolSubcommand feedSimulateSubcommand() {
  constexpr auto kWithValue = QuillonToolOption::Kind::withValue;
  std::vector<QuillonToolOption> options = {{.name = "--json"}, {.name = "--hourly"}};
  for (const std::string_view name :
       {"--installs", "--days", "--start", "--seed", "--archive-size", "--population", "--svg"}) {
    options.push_back({.name = name, .kind = kWithValue});
  }
  for (const PropertyOption& option : kPropertyOptions) options.push_back({.name = option.option, .kind = kWithValue});
  return {.group = "feed",
          .name = "simulate",
          .summary = "Simulate the roll-out of a feed",
          .help = kHelp,
          .options = std::move(options),
          .action = simulate};
}

}  // namespace quillon
