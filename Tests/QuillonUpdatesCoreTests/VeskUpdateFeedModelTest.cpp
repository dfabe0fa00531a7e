#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "QuillonCore/Contracts/QuillonCalendar.h"
#include "QuillonUpdatesCore/VeskUpdateFeedEligibilityEvaluator.h"
#include "QuillonUpdatesCore/VeskUpdateFeedPipelineApplier.h"
#include "QuillonUpdatesCore/VeskUpdateFeedPipelineEvaluator.h"
#include "QuillonUpdatesCore/VeskUpdateVersionComparison.h"
#include "QuillonUpdatesCoreTests/VeskUpdateFeedModel.h"

// Holds evaluator and pipeline against the plain model on random entries and contexts. Values are drawn from small
// pools whose members meet one another's rules: equal, equal but spelt otherwise, one off, malformed, of another type.

namespace quillon {
namespace {

using Branch = VeskUpdateFeedModel::Branch;
using Entry = VeskUpdateFeedModel::Entry;
using Value = QuillonPropertyListValue;
using Strings = std::vector<std::string>;
using std::chrono::days;
using std::chrono::hours;
using std::chrono::microseconds;

constexpr unsigned kSeed = 20260301;

// Everything is checked several times slower in a sanitizer's build.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int kRounds = 10;
#else
constexpr int kRounds = 100;
#endif
/// Each entry of a round meets each context of it: a million cases in 100 rounds.
constexpr int kEntriesPerRound = 100;
constexpr int kContextsPerRound = 100;
constexpr int kFeedsPerRound = 250;
constexpr int kContextsPerFeed = 4;
/// How often a branch has to be reached: a thousand times in 100 rounds.
constexpr std::size_t kLeastReached = std::size_t{10} * kRounds;

constexpr std::int64_t kLargest = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kSmallest = std::numeric_limits<std::int64_t>::min();

class UTCCalendar : public QuillonCalendar {
 public:
  [[nodiscard]] std::optional<QuillonDate> startOfDay(std::chrono::year_month_day day) const noexcept override {
    if (!day.ok()) return std::nullopt;
    return std::chrono::sys_days(day);
  }

  [[nodiscard]] std::optional<QuillonDate> addingDays(QuillonDate date, std::int64_t count) const noexcept override {
    std::int64_t distance = 0;
    std::int64_t sum = 0;
    if (__builtin_mul_overflow(count, microseconds(days(1)).count(), &distance) ||
        __builtin_add_overflow(date.time_since_epoch().count(), distance, &sum)) {
      return std::nullopt;
    }
    return QuillonDate(microseconds(sum));
  }
};

const Strings kVersions = {"2.1",       "2.1",        "2.1",      "2.1",       "2.1", "2.1b3", "2.1b3",
                           "2.1b3",     "2.1 beta 3", "2.1 B3",   "2.1.0",     "1.0", "3.0",   "10.0",
                           "2.1\u03B2", "3.\u00E9",   "3.\u4E2D", "2.1\u0663", "2.1+"};
const Strings kSystemVersions = {"10.15", "10.15.7", "10.15.7", "11", "11.0", "14.5", "9"};
const Strings kTypes = {"update", "update", "update", "update", "update", "update", "update", "news", "Update"};
const Strings kSKUs = {"mas", "mas", "setapp", "direct", "MAS", "mas "};
const Strings kLanguages = {"de", "DE", "dE", "en", "zh-Hans", "d"};
const Strings kBuilds = {"119",
                         "120",
                         "120",
                         "121",
                         "122",
                         "+121",
                         "0121",
                         "0",
                         "-0",
                         "-121",
                         "9223372036854775807",
                         "-9223372036854775808"};
const Strings kMalformedBuilds = {"+",
                                  "-",
                                  "++1",
                                  "12a",
                                  " 120",
                                  "120 ",
                                  "1.0",
                                  "0x7A",
                                  "\u0661",
                                  "9223372036854775808",
                                  "-9223372036854775809",
                                  "99999999999999999999"};
const Strings kImportances = {"1", "1", "0", "true", " 1", "01", "1.0"};
const Strings kReleaseDates = {"2026-03-01", "2024-02-29", "2026-01-31", "2000-02-29", "1999-12-31"};
const Strings kMalformedReleaseDates = {"2025-02-29", "2100-02-29", "2026-13-01", "2026-00-10", "2026-01-00",
                                        "2026-04-31", "soon",       "2026-03",    "03/01/2026", "2026-03-01-02"};
const Strings kIdentifiers = {"a", "a", "a", "b", "2.1"};
const Strings kIntervals = {"30",
                            "3600",
                            "3601",
                            "7200",
                            "0",
                            "+0",
                            "-5",
                            "abc",
                            "+60",
                            "3600.0",
                            "",
                            "9223372036854775807",
                            "9223372036854775808"};
const std::vector<std::int64_t> kGroups = {0, -1, 1, 1, 1, 3, 3, 30, kLargest, kSmallest, 50'000'000, 108'000'000};
const std::vector<std::int64_t> kDelays = {24, 24, 24, 1, 0, -3, kSmallest, 2'500'000'000, kLargest / 3600};
const std::vector<std::int64_t> kAppBuilds = {119, 119, 120, 120, 121, 1, 0, -5, kSmallest, kLargest};
const std::vector<std::int64_t> kSeconds = {3600, 3600, 7200, 60, 0, -1, -3600, kSmallest, kLargest};

/// The first moments of kReleaseDates.
const std::vector<std::chrono::sys_days> kReleaseDays = {
    std::chrono::year{2026} / 3 / 1, std::chrono::year{2024} / 2 / 29, std::chrono::year{2026} / 1 / 31,
    std::chrono::year{2000} / 2 / 29, std::chrono::year{1999} / 12 / 31};
/// How far from a moment at which a decision turns, that and the microseconds beside it first.
const std::vector<microseconds> kShifts = {microseconds(0),  microseconds(0), microseconds(0),
                                           microseconds(-1), microseconds(1), hours(-12),
                                           hours(12),        hours(-24),      hours(24)};

class Draw {
 public:
  explicit Draw(unsigned seed) : random_(seed) {}

  bool oneIn(unsigned count) { return random_() % count == 0; }
  bool flag() { return oneIn(2); }
  bool mostly() { return !oneIn(8); }

  template <typename T>
  const T& from(const std::vector<T>& pool) {
    return pool[random_() % pool.size()];
  }

  Entry entry() {
    Entry entry;
    put(entry, "type", from(kTypes), 15);
    put(entry, "id", from(kIdentifiers), 11);
    put(entry, "version", range(kVersions), 8);
    put(entry, "os", range(kSystemVersions), 6);
    put(entry, "sku", from(kSKUs), 4);
    put(entry, "lang", from(kLanguages), 4);
    put(entry, "current", from(kVersions), 14);
    put(entry, "currentbuild", from(oneIn(4) ? kMalformedBuilds : kBuilds), 14);
    put(entry, "mustupdate", from(kVersions), 6);
    put(entry, "important", from(kImportances), 5);
    put(entry, "releasedate", from(oneIn(4) ? kMalformedReleaseDates : kReleaseDates), 14);
    putInterval(entry);
    if (oneIn(4)) entry.emplace("unheard of", Value("2.1"));
    return entry;
  }

  std::vector<Entry> entries(unsigned count) {
    std::vector<Entry> feed;
    for (unsigned i = 0; i < count; ++i) feed.push_back(entry());
    return feed;
  }

  std::vector<Entry> shortFeed() { return entries(static_cast<unsigned>(random_() % 6)); }

  VeskUpdateFeedApplicabilityContext applicabilityContext() {
    const std::int64_t group = from(kGroups);
    const QuillonDate now = aboutReleaseDay() + days(group > 0 && group < 100 ? group : 0);
    return {.appVersion = oneIn(16) ? "" : from(kVersions),
            .appBuild = from(kAppBuilds),
            .currentOSVersion = oneIn(16) ? "" : from(kSystemVersions),
            .preferredLanguageCode = identifierOr(kLanguages),
            .acceptedSKUs = flag() ? std::set<std::string, std::less<>>{"mas"}
                                   : std::set<std::string, std::less<>>{"direct", "setapp"},
            .canProcessUpdateFeeds = mostly(),
            .isManualCheck = oneIn(3),
            .checkForBetaReleasesEnabled = flag(),
            .shouldApplyUserStaggering = flag(),
            .userStaggerGroup = group,
            .now = now,
            .debugBypassApplicabilityChecks = oneIn(8)};
  }

  VeskUpdateFeedApplicabilityResult applicabilityResult() {
    return {.shouldProcessFeed = mostly(),
            .isUpdate = flag(),
            .isNewBuild = flag(),
            .isBetaUpdate = flag(),
            .releaseDate = from(kReleaseDays),
            .resolvedFeedIdentifier = identifierOr(kIdentifiers)};
  }

  VeskUpdateFeedDisplayContext displayContext() {
    const QuillonDate now = aboutReleaseDay();
    std::optional<QuillonDate> lastShown;
    if (mostly()) lastShown = now - hours(flag() ? 24 : 0);
    if (lastShown) *lastShown += from(kShifts);
    return {.appVersion = oneIn(16) ? "" : from(kVersions),
            .canProcessUpdateFeeds = !oneIn(3),
            .now = now,
            .lastNewsDisplayedDate = lastShown,
            .checkUpdatesAfterHours = from(kDelays),
            .isManualCheck = oneIn(4),
            .storedFeedIdentifier = identifierOr(kIdentifiers),
            .shouldResetStoredFeedIdentifier = oneIn(4)};
  }

  VeskUpdateFeedDisplayResult displayResult() {
    return {.isEligibleForProcessing = flag(),
            .shouldDisplayNow = mostly(),
            .resolvedFeedIdentifier = identifierOr(kIdentifiers),
            .effectiveStoredFeedIdentifier = identifierOr(kIdentifiers)};
  }

  /// All but the candidate.
  VeskUpdateFeedPipelineApplicationInput applicationInput() {
    Value::Dictionary news;
    if (flag()) news.emplace("update", Value("a"));
    if (flag()) news.emplace("news", Value(3));
    return {.pipelineResult = {},
            .canProcessUpdateFeeds = flag(),
            .shouldConfirmNoUpdatesDialog = flag(),
            .shouldSetSleepInterval = mostly(),
            .existingNewsDictionary = std::move(news),
            .feedTypeKey = oneIn(8) ? "" : "update",
            .defaultRefetchIntervalSeconds = from(kSeconds),
            .minimumRefetchIntervalSeconds = from(kSeconds)};
  }

 private:
  QuillonDate aboutReleaseDay() {
    const QuillonDate day = from(kReleaseDays);
    return day + from(kShifts);
  }

  /// Absent, empty or one of `pool`.
  std::optional<std::string> identifierOr(const Strings& pool) {
    if (oneIn(4)) return std::nullopt;
    return oneIn(8) ? std::string() : from(pool);
  }

  /// Up to four bounds with hyphens between, some of them empty.
  std::string range(const Strings& bounds) {
    std::string range = oneIn(6) ? "" : from(bounds);
    for (unsigned left = random_() % 8; left > 4; --left) range += "-" + (oneIn(6) ? "" : from(bounds));
    return range;
  }

  /// Puts `text` in `presence` of 16 entries; a few are empty instead, or no strings.
  void put(Entry& entry, const std::string& key, const std::string& text, unsigned presence) {
    if (random_() % 16 >= presence) return;
    if (oneIn(24)) {
      entry.emplace(key, oddity());
    } else {
      entry.emplace(key, Value(oneIn(24) ? std::string() : text));
    }
  }

  void putInterval(Entry& entry) {
    if (oneIn(6)) return;
    if (oneIn(6)) {
      entry.emplace("interval", oddity());
    } else if (oneIn(5)) {
      entry.emplace("interval", Value(from(kSeconds)));
    } else if (oneIn(5)) {
      entry.emplace("interval", Value(from(std::vector<double>{0.0, 0.4, -0.9, 30, 3600.9, 7200.9, -2.5, 1e15})));
    } else {
      entry.emplace("interval", Value(from(kIntervals)));
    }
  }

  /// A value of another type than string, most of them with the content that a string would have.
  Value oddity() {
    switch (random_() % 7) {
      case 0:
        return Value(true);
      case 1:
        return Value(1);
      case 2:
        return Value(2.1);
      case 3:
        return Value(QuillonPropertyListDate(kReleaseDays.front()));
      case 4:
        return Value(QuillonPropertyListData{{'2', '.', '1'}});
      case 5:
        return Value(Value::Array{Value("update")});
      default:
        return Value(Value::Dictionary{{"type", Value("update")}});
    }
  }

  std::mt19937 random_;
};

VeskUpdateFeed makeFeed(const std::vector<Entry>& entries) {
  Value::Array list;
  for (const Entry& entry : entries) list.emplace_back(entry);
  return VeskUpdateFeed(QuillonPropertyListDocument(writeBinaryPropertyList(Value(std::move(list)))));
}

/// What an applier does with a candidate, its calls of the prompt included.
struct Application {
  VeskUpdateFeedPipelineApplicationResult result;
  std::vector<Entry> shownEntries;

  friend bool operator==(const Application&, const Application&) = default;
};

Entry copyOf(const VeskUpdateFeedEntry& entry) {
  return *entry.toValue().getIf<Entry>();
}

/// The implementation's candidate in the model's terms.
std::optional<VeskUpdateFeedModel::Candidate> copyOf(
    const std::optional<VeskUpdateFeedProcessingCandidate>& candidate) {
  if (!candidate) return std::nullopt;
  return VeskUpdateFeedModel::Candidate{
      .feed = copyOf(candidate->feed), .applicability = candidate->applicability, .display = candidate->display};
}

// Texts of a failure. Nothing below is called before something differs.

std::string quoted(const std::optional<std::string>& text) {
  return text ? '"' + *text + '"' : "none";
}

std::string describe(const std::optional<QuillonDate>& date) {
  return date ? std::to_string(date->time_since_epoch().count()) + " us after 1970" : "none";
}

std::string describe(const Entry& entry) {
  return writeXMLPropertyList(Value(entry));
}

std::string describe(const VeskUpdateFeedApplicabilityContext& context) {
  std::ostringstream text;
  text << std::boolalpha << "appVersion " << quoted(context.appVersion) << "\nappBuild " << context.appBuild
       << "\ncurrentOSVersion " << quoted(context.currentOSVersion) << "\npreferredLanguageCode "
       << quoted(context.preferredLanguageCode) << "\nacceptedSKUs";
  for (const std::string& sku : context.acceptedSKUs) text << ' ' << quoted(sku);
  text << "\ncanProcessUpdateFeeds " << context.canProcessUpdateFeeds << "\nisManualCheck " << context.isManualCheck
       << "\ncheckForBetaReleasesEnabled " << context.checkForBetaReleasesEnabled << "\nshouldApplyUserStaggering "
       << context.shouldApplyUserStaggering << "\nuserStaggerGroup " << context.userStaggerGroup << "\nnow "
       << describe(context.now) << "\ndebugBypassApplicabilityChecks " << context.debugBypassApplicabilityChecks
       << '\n';
  return text.str();
}

std::string describe(const VeskUpdateFeedApplicabilityResult& result) {
  std::ostringstream text;
  text << std::boolalpha << "shouldProcessFeed " << result.shouldProcessFeed << ", isUpdate " << result.isUpdate
       << ", isNewBuild " << result.isNewBuild << ", isBetaUpdate " << result.isBetaUpdate << ", releaseDate "
       << describe(result.releaseDate) << ", resolvedFeedIdentifier " << quoted(result.resolvedFeedIdentifier) << '\n';
  return text.str();
}

std::string describe(const VeskUpdateFeedDisplayContext& context) {
  std::ostringstream text;
  text << std::boolalpha << "appVersion " << quoted(context.appVersion) << "\ncanProcessUpdateFeeds "
       << context.canProcessUpdateFeeds << "\nnow " << describe(context.now) << "\nlastNewsDisplayedDate "
       << describe(context.lastNewsDisplayedDate) << "\ncheckUpdatesAfterHours " << context.checkUpdatesAfterHours
       << "\nisManualCheck " << context.isManualCheck << "\nstoredFeedIdentifier "
       << quoted(context.storedFeedIdentifier) << "\nshouldResetStoredFeedIdentifier "
       << context.shouldResetStoredFeedIdentifier << '\n';
  return text.str();
}

std::string describe(const VeskUpdateFeedDisplayResult& result) {
  std::ostringstream text;
  text << std::boolalpha << "isEligibleForProcessing " << result.isEligibleForProcessing << ", shouldDisplayNow "
       << result.shouldDisplayNow << ", resolvedFeedIdentifier " << quoted(result.resolvedFeedIdentifier)
       << ", effectiveStoredFeedIdentifier " << quoted(result.effectiveStoredFeedIdentifier) << '\n';
  return text.str();
}

std::string describe(const VeskUpdateFeedPipelineApplicationInput& input) {
  std::ostringstream text;
  text << std::boolalpha << "canProcessUpdateFeeds " << input.canProcessUpdateFeeds << "\nshouldConfirmNoUpdatesDialog "
       << input.shouldConfirmNoUpdatesDialog << "\nshouldSetSleepInterval " << input.shouldSetSleepInterval
       << "\nfeedTypeKey " << quoted(input.feedTypeKey) << "\ndefaultRefetchIntervalSeconds "
       << input.defaultRefetchIntervalSeconds << "\nminimumRefetchIntervalSeconds "
       << input.minimumRefetchIntervalSeconds << "\nexistingNewsDictionary " << describe(input.existingNewsDictionary);
  return text.str();
}

std::string describe(const VeskUpdateFeedPipelineApplicationResult& result) {
  std::ostringstream text;
  text << std::boolalpha << "didProcessSelectedUpdate " << result.didProcessSelectedUpdate
       << ", shouldMarkUpdateCheckPerformedOK " << result.shouldMarkUpdateCheckPerformedOK
       << ", shouldHideNoUpdatesFoundDialog " << result.shouldHideNoUpdatesFoundDialog << ", resolvedSleepInterval ";
  result.resolvedSleepInterval ? text << *result.resolvedSleepInterval : text << "none";
  text << ", updatedNewsDictionary "
       << (result.updatedNewsDictionary ? describe(*result.updatedNewsDictionary) : "none") << '\n';
  return text.str();
}

std::string describe(const Application& application) {
  std::string text = describe(application.result) + std::to_string(application.shownEntries.size()) + " prompts\n";
  for (const Entry& entry : application.shownEntries) text += describe(entry);
  return text;
}

std::string describe(const std::vector<Entry>& feed) {
  std::string text;
  for (const Entry& entry : feed) text += describe(entry);
  return text;
}

std::string describe(const std::optional<VeskUpdateFeedModel::Candidate>& candidate) {
  if (!candidate) return "none\n";
  return describe(candidate->feed) + describe(candidate->applicability) + describe(candidate->display);
}

/// A case in which model and implementation differ, whole.
template <typename Result, typename... Inputs>
std::string difference(const Result& expected, const Result& actual, const Inputs&... inputs) {
  return "seed " + std::to_string(kSeed) + "\nthe model says " + describe(expected) + "it is          " +
         describe(actual) + (("--\n" + describe(inputs)) + ...);
}

void expectBranchesReached(const VeskUpdateFeedModel& model, Branch first, Branch last) {
  for (auto i = static_cast<std::size_t>(first); i <= static_cast<std::size_t>(last); ++i) {
    const auto branch = static_cast<Branch>(i);
    EXPECT_GE(model.timesReached(branch), kLeastReached) << VeskUpdateFeedModel::name(branch);
  }
}

class VeskUpdateFeedModelTest : public testing::Test {
 protected:
  const VeskUpdateVersionComparing compare_ = &VeskUpdateVersionComparison::compare;
  const VeskUpdateFeedEligibilityEvaluator evaluator_{std::make_shared<const UTCCalendar>()};
  const VeskUpdateFeedPipelineEvaluator pipeline_{.suppressionEvaluator = {},
                                                  .processingEvaluator = {.eligibilityEvaluator = evaluator_}};
  VeskUpdateFeedModel model_{compare_};
  Draw draw_{kSeed};
};

TEST_F(VeskUpdateFeedModelTest, TheEvaluatorDecidesAsThePlainModelDoes) {
  for (int round = 0; round < kRounds; ++round) {
    const std::vector<Entry> entries = draw_.entries(kEntriesPerRound);
    const VeskUpdateFeed feed = makeFeed(entries);
    for (int i = 0; i < kContextsPerRound; ++i) {
      const VeskUpdateFeedApplicabilityContext context = draw_.applicabilityContext();
      const VeskUpdateFeedDisplayContext displayContext = draw_.displayContext();
      const VeskUpdateFeedApplicabilityResult drawnApplicability = draw_.applicabilityResult();
      for (std::size_t e = 0; e < entries.size(); ++e) {
        const auto applicability = model_.evaluateApplicability(entries[e], context);
        const auto actual = evaluator_.evaluateApplicability(feed.at(e), context, compare_);
        ASSERT_TRUE(actual == applicability) << difference(applicability, actual, entries[e], context);

        // Results that no entry has may be handed in as well.
        const auto& handedIn = applicability.shouldProcessFeed ? applicability : drawnApplicability;
        const auto display = model_.evaluateDisplay(entries[e], handedIn, displayContext);
        const auto actualDisplay = evaluator_.evaluateDisplay(feed.at(e), handedIn, displayContext, compare_);
        ASSERT_TRUE(actualDisplay == display)
            << difference(display, actualDisplay, entries[e], handedIn, displayContext);
      }
    }
  }

  expectBranchesReached(model_, Branch::valueIsMissing, Branch::reminderDelayIsOver);
}

TEST_F(VeskUpdateFeedModelTest, ThePipelineSelectsAsThePlainModelDoes) {
  for (int i = 0; i < kRounds * kFeedsPerRound; ++i) {
    const std::vector<Entry> entries = draw_.shortFeed();
    const VeskUpdateFeed feed = makeFeed(entries);
    for (int c = 0; c < kContextsPerFeed; ++c) {
      const VeskUpdateFeedApplicabilityContext context = draw_.applicabilityContext();
      const VeskUpdateFeedDisplayContext displayContext = draw_.displayContext();

      const auto expected = model_.selectFirstProcessable(entries, context, displayContext);
      const auto actual = pipeline_.evaluate(feed, {}, context, displayContext, compare_);

      const auto selected = copyOf(actual.selectedCandidate);
      ASSERT_FALSE(actual.suppression.isSuppressed);
      ASSERT_TRUE(selected == expected) << difference(expected, selected, entries, context, displayContext);
    }
  }

  expectBranchesReached(model_, Branch::selectionSkipsOtherType, Branch::selectionFindsNone);
}

TEST_F(VeskUpdateFeedModelTest, TheApplierDrawsThePlainModelsConsequences) {
  for (int i = 0; i < kRounds * kFeedsPerRound; ++i) {
    const std::vector<Entry> entries = {draw_.entry()};
    const VeskUpdateFeed feed = makeFeed(entries);
    const VeskUpdateFeedDisplayResult display = draw_.displayResult();
    VeskUpdateFeedPipelineApplicationInput input = draw_.applicationInput();
    if (draw_.mostly()) {
      input.pipelineResult.selectedCandidate.emplace(VeskUpdateFeedProcessingCandidate{
          .feed = feed.at(0), .applicability = draw_.applicabilityResult(), .display = display});
    }
    const bool promptIsShown = draw_.mostly();
    const auto candidate = copyOf(input.pipelineResult.selectedCandidate);

    Application expected;
    expected.result = model_.apply(candidate, input, [&](const Entry& entry) {
      expected.shownEntries.push_back(entry);
      return promptIsShown;
    });
    Application actual;
    actual.result = VeskUpdateFeedPipelineApplier().apply(input, [&](const VeskUpdateFeedEntry& entry) {
      actual.shownEntries.push_back(copyOf(entry));
      return promptIsShown;
    });

    ASSERT_TRUE(actual == expected) << difference(expected, actual, candidate, input) << "the prompt answers "
                                    << promptIsShown;
  }

  expectBranchesReached(model_, Branch::intervalIsMissing, Branch::intervalIsNotWanted);
}

}  // namespace
}  // namespace quillon
