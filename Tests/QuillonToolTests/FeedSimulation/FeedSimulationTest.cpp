#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <random>

#include "QuillonToolTests/FeedSimulation/SimulationMaking.h"
#include "QuillonUpdatesCore/VeskUpdateFeedProcessingEvaluator.h"
#include "QuillonUpdatesCore/VeskUpdateVersionComparison.h"
#include "Support/ScopedTimeZone.h"

namespace quillon {
namespace {

using testing::makeModel;
using testing::smallPopulation;
using testing::updateEntry;

/// Feeds and populations of a few values each, drawn at random.
class RandomWorld {
 public:
  explicit RandomWorld(unsigned seed) : random_(seed) {}

  [[nodiscard]] VeskUpdateFeed feed() {
    QuillonPropertyListValue::Array entries;
    for (unsigned count = 1 + below(5); count > 0; --count) entries.emplace_back(entry());
    return VeskUpdateFeed(
        QuillonPropertyListDocument(writeBinaryPropertyList(QuillonPropertyListValue(std::move(entries)))));
  }

  [[nodiscard]] FeedPopulation population() {
    FeedPopulation population;
    population.versions = {{.value = {.version = "1.0", .build = 10}, .weight = 1 + below(3)},
                           {.value = {.version = "2.0", .build = 20}},
                           {.value = {.version = "2.1b1"}}};
    population.osVersions = {{.value = "12.0"}, {.value = "14.0", .weight = below(3)}};
    population.languages = {{.value = "en"}, {.value = "de"}};
    population.skus = {{.value = ""}, {.value = "mas"}};
    population.staggerGroups = {{.value = 0}, {.value = 2}, {.value = 5}};
    population.checkHours = {{.value = 24}, {.value = 5}, {.value = 1 + below(60)}};
    population.betaPercent = below(101);
    return population;
  }

  unsigned below(unsigned limit) { return static_cast<unsigned>(random_() % limit); }

 private:
  FeedDictionary entry() {
    FeedDictionary entry;
    const auto maybe = [&](const char* key, const std::vector<const char*>& values) {
      if (const char* const value = values[below(static_cast<unsigned>(values.size()))]) {
        entry.emplace(key, QuillonPropertyListValue(std::string_view(value)));
      }
    };
    maybe("type", {"update", "update", "update", "news"});
    maybe("id", {"a", "b", nullptr});
    maybe("version", {"1.0-2.0", "2.0", "-2.1", nullptr, nullptr});
    maybe("os", {"13.0", nullptr, nullptr});
    maybe("lang", {"de", nullptr, nullptr});
    maybe("sku", {"mas", nullptr, nullptr});
    maybe("current", {"2.0", "2.0", "2.1", "3.0b2", "3.0", nullptr});
    maybe("currentbuild", {"20", "25", nullptr});
    maybe("important", {"1", nullptr, nullptr});
    maybe("releasedate", {"2024-10-24", "2024-10-26", "2024-10-27", nullptr});
    maybe("size", {"1000", "7"});
    return entry;
  }

  std::mt19937 random_;
};

/// One install after another, one check after another, as its host would do them.
class PlainSimulation {
 public:
  PlainSimulation(const VeskUpdateFeed& feed, const FeedPopulation& population, const FeedSimulationPeriod& period)
      : feed_(feed), population_(population), period_(period) {
    result_.hours.resize(static_cast<std::size_t>(period.hourCount()));
  }

  [[nodiscard]] const FeedSimulationResult& run(std::int64_t installs, std::uint64_t seed) {
    for (const FeedAudience& audience : feedAudiences(population_, installs, seed)) {
      for (const FeedCohort& cohort : feedCohorts(population_, audience)) {
        for (std::int64_t i = 0; i < cohort.installs; ++i) runInstall(audience, cohort);
      }
    }
    return result_;
  }

 private:
  void runInstall(const FeedAudience& audience, const FeedCohort& cohort) {
    VeskUpdateFeedApplicabilityContext context;
    context.appVersion = population_.versions[cohort.version].value.version;
    context.appBuild = population_.versions[cohort.version].value.build;
    context.currentOSVersion = population_.osVersions[audience.osVersion].value;
    context.preferredLanguageCode = population_.languages[audience.language].value;
    context.acceptedSKUs = {population_.skus[audience.sku].value};
    context.canProcessUpdateFeeds = true;
    context.checkForBetaReleasesEnabled = audience.wantsBetas;
    context.shouldApplyUserStaggering = true;
    context.userStaggerGroup = population_.staggerGroups[audience.staggerGroup].value;
    std::size_t state = cohort.version;
    bool isKnown = true;
    const std::int64_t interval = population_.checkHours[cohort.checkHours].value;
    for (std::size_t day = 0; day < period_.days().size(); ++day) {
      const FeedSimulationPeriod::Day& hours = period_.days()[day];
      for (std::int64_t hour = hours.firstHour; hour < hours.firstHour + hours.hourCount; ++hour) {
        if (hour % interval != cohort.firstCheck) continue;
        auto& counted = result_.hours[static_cast<std::size_t>(hour)];
        ++counted.checks;
        context.now = period_.start() + std::chrono::hours(hour);
        const std::optional<std::size_t> offered = isKnown ? offer(context) : std::nullopt;
        if (!offered) continue;
        ++counted.downloads;
        counted.bytes += std::stoll(std::string(text(*offered, "size")));
        count(audience, state, *offered, day);
        state = population_.versions.size() + *offered;
        isKnown = !text(*offered, "current").empty();
        context.appVersion = text(*offered, "current");
        const std::string build(text(*offered, "currentbuild"));
        context.appBuild = build.empty() ? 0 : std::stoll(build);
      }
      std::vector<std::int64_t>& counts = result_.installsByState[state];
      counts.resize(period_.days().size());
      ++counts[day];
    }
  }

  void count(const FeedAudience& audience, std::size_t state, std::size_t entry, std::size_t day) {
    FeedSimulationResult::Offers& offers = result_.offersByEntry[entry];
    offers.byDay.resize(period_.days().size());
    ++offers.byDay[day];
    ++offers.byState[state];
    ++offers.byOSVersion[audience.osVersion];
    ++offers.byLanguage[audience.language];
    ++offers.bySKU[audience.sku];
    ++offers.byStaggerGroup[audience.staggerGroup];
    offers.toBetaTesters += audience.wantsBetas ? 1 : 0;
  }

  [[nodiscard]] std::string_view text(std::size_t entry, std::string_view key) const {
    const auto value = feed_.at(entry).find(key);
    return value ? value->stringIf().value_or("") : "";
  }

  /// The first entry that is offered to a feed of it alone and everything before it.
  [[nodiscard]] std::optional<std::size_t> offer(const VeskUpdateFeedApplicabilityContext& context) const {
    VeskUpdateFeedDisplayContext display;
    display.appVersion = context.appVersion;
    display.canProcessUpdateFeeds = true;
    display.now = context.now;
    const VeskUpdateFeedEligibilityEvaluator evaluator;
    for (std::size_t i = 0; i < feed_.size(); ++i) {
      const auto applicability =
          evaluator.evaluateApplicability(feed_.at(i), context, VeskUpdateVersionComparison::compare);
      const auto shown =
          evaluator.evaluateDisplay(feed_.at(i), applicability, display, VeskUpdateVersionComparison::compare);
      if (shown.isEligibleForProcessing && shown.shouldDisplayNow) return i;
    }
    return std::nullopt;
  }

  const VeskUpdateFeed& feed_;
  const FeedPopulation& population_;
  const FeedSimulationPeriod& period_;
  FeedSimulationResult result_;
};

/// Without the states that installs only pass through within a day, of which the plain simulation takes no note.
FeedSimulationResult withoutEmptyStates(FeedSimulationResult result) {
  std::erase_if(result.installsByState, [](const auto& state) {
    return std::ranges::all_of(state.second, [](std::int64_t installs) { return installs == 0; });
  });
  return result;
}

TEST(FeedSimulationTest, IsTheSumOfWhatEachInstallDoesByItself) {
  for (const char* const zoneName : {"UTC", "Europe/Vienna", "Australia/Lord_Howe"}) {
    const ScopedTimeZone zone(zoneName);
    for (unsigned seed = 0; seed < 30; ++seed) {
      SCOPED_TRACE(std::string(zoneName) + ", seed " + std::to_string(seed));
      RandomWorld world(seed);
      const VeskUpdateFeed feed = world.feed();
      const std::shared_ptr<const QuillonCalendar> calendar = makeSystemCalendar();
      const FeedSimulationPeriod period(*calendar, std::chrono::October / 24 / 2024, 6);
      const FeedSimulationModel model(feed, world.population(), period, std::nullopt, calendar);
      const std::int64_t installs = 1 + world.below(40);

      const FeedSimulationResult result = simulateFeed(model, installs, seed, 3);

      ASSERT_EQ(withoutEmptyStates(result), PlainSimulation(feed, model.population(), period).run(installs, seed));
    }
  }
}

TEST(FeedSimulationTest, EveryInstallIsCountedOnceADay) {
  RandomWorld world(7);
  for (int i = 0; i < 20; ++i) {
    const VeskUpdateFeed feed = world.feed();
    const FeedSimulationModel model = makeModel(feed, world.population(), 9);
    const std::int64_t installs = 1 + world.below(100'000);

    const FeedSimulationResult result = simulateFeed(model, installs, 1, 4);

    for (std::size_t day = 0; day < 9; ++day) {
      std::int64_t counted = 0;
      for (const auto& [state, counts] : result.installsByState) counted += counts[day];
      ASSERT_EQ(counted, installs);
    }
  }
}

TEST(FeedSimulationTest, NoEntryIsOfferedToMoreInstallsThanThereAre) {
  RandomWorld world(8);
  for (int i = 0; i < 20; ++i) {
    const VeskUpdateFeed feed = world.feed();
    const FeedSimulationModel model = makeModel(feed, world.population(), 9);
    const std::int64_t installs = 1 + world.below(1000);

    const FeedSimulationResult result = simulateFeed(model, installs, 1, 4);

    std::int64_t offers = 0;
    for (const auto& [entry, offered] : result.offersByEntry) {
      ASSERT_LE(offered.total(), installs);
      offers += offered.total();
      std::int64_t byGroup = 0;
      for (const auto& [group, count] : offered.byStaggerGroup) byGroup += count;
      ASSERT_EQ(byGroup, offered.total());
    }
    std::int64_t downloads = 0;
    for (const FeedSimulationResult::Hour& hour : result.hours) {
      ASSERT_LE(hour.downloads, hour.checks);
      downloads += hour.downloads;
    }
    ASSERT_EQ(downloads, offers);
  }
}

TEST(FeedSimulationTest, TheNumberOfPartsDoesNotShow) {
  RandomWorld world(9);
  const VeskUpdateFeed feed = world.feed();
  const FeedSimulationModel model = makeModel(feed, world.population(), 9);

  const FeedSimulationResult inOne = simulateFeed(model, 12'345, 1, 1);

  EXPECT_EQ(simulateFeed(model, 12'345, 1, 2), inOne);
  EXPECT_EQ(simulateFeed(model, 12'345, 1, 7), inOne);
  EXPECT_EQ(simulateFeed(model, 12'345, 1, 500), inOne);
}

TEST(FeedSimulationTest, TheMostInstallsAreCountedExactly) {
  constexpr std::int64_t kInstalls = 1'000'000'000'000;
  const VeskUpdateFeed feed = feedOf({updateEntry()});
  const FeedSimulationModel model = makeModel(feed, smallPopulation());

  const FeedSimulationResult result = simulateFeed(model, kInstalls, 1, 2);

  EXPECT_EQ(result.offersByEntry.at(0).total(), kInstalls / 4 * 3);
}

TEST(FeedSimulationTest, ProgressEndsWithEverything) {
  const VeskUpdateFeed feed = feedOf({updateEntry()});
  const FeedSimulationModel model = makeModel(feed, smallPopulation());
  std::vector<std::size_t> steps;
  std::size_t all = 0;

  (void)simulateFeed(model, 100, 1, 2, [&](std::size_t done, std::size_t total) {
    steps.push_back(done);
    all = total;
  });

  EXPECT_EQ(all, 2U) << "one audience for each group";
  EXPECT_THAT(steps, ::testing::ElementsAre(1U, 2U));
}

}  // namespace
}  // namespace quillon
