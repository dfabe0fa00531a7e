#include "QuillonUpdatesCoreTests/VeskUpdateFeedModel.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <chrono>
#include <utility>

namespace quillon {
namespace {

using Branch = VeskUpdateFeedModel::Branch;

/// What a failing test prints, in the order of the enumeration.
constexpr std::array<std::string_view, VeskUpdateFeedModel::kBranchCount> kBranchNames = {
    "valueIsMissing",
    "valueIsNoString",
    "valueIsEmpty",
    "integerHasNoDigits",
    "integerHasOtherCharacters",
    "integerOverflows",
    "integerHasSign",
    "integerParses",
    "releaseDateIsEmpty",
    "releaseDateIsMalformed",
    "releaseDateParses",
    "identifierIsID",
    "identifierIsVersion",
    "identifierIsMissing",
    "rangeHasPiecesBetween",
    "rangeHasEmptyLowBound",
    "rangeIsAbove",
    "rangeHasNoHighBound",
    "rangeHasEmptyHighBound",
    "rangeIsBelow",
    "rangeEndsHere",
    "rangeGoesOn",
    "staggeringIsOff",
    "staggeringSparesManualCheck",
    "staggeringSparesImportantUpdate",
    "staggerGroupIsFirst",
    "staggerDayCannotBeFormed",
    "staggerDayIsToCome",
    "staggerDayBeginsNow",
    "staggerDayIsPast",
    "constraintsAreBypassed",
    "versionIsRefused",
    "skuIsRefused",
    "skuIsAccepted",
    "languageIsUnknown",
    "languageIsRefused",
    "languageIsAccepted",
    "languageIsAcceptedInOtherCase",
    "osIsRefused",
    "constraintsPass",
    "buildIsMissing",
    "versionIsSpeltOtherwise",
    "versionIsOlder",
    "appBuildIsUnknown",
    "buildIsNotPositive",
    "buildIsTheSame",
    "buildIsOlder",
    "buildIsNewer",
    "newerByBypass",
    "newerWithoutVersion",
    "newerByVersion",
    "newerBuildOfBeta",
    "newerBuildOfRelease",
    "entryIsNoUpdate",
    "processingIsOff",
    "entryIsNotNewer",
    "betaIsNotWanted",
    "betaIsWanted",
    "betaIsForManualCheck",
    "releaseIsApplicable",
    "displayOfUnprocessable",
    "displayOfNothingNew",
    "displayWithoutIdentifier",
    "storedIdentifierIsForgotten",
    "neverShownBefore",
    "shownBefore",
    "anotherShownBefore",
    "shownAsNewBuild",
    "shownAsMandatory",
    "shownAsMandatoryInOtherSpelling",
    "shownForTheFirstTime",
    "shownByManualCheck",
    "reminderDelayIsNegative",
    "reminderDelayNeverEnds",
    "reminderDelayLasts",
    "reminderDelayEndsNow",
    "reminderDelayIsOver",
    "selectionSkipsOtherType",
    "selectionSkipsInapplicable",
    "selectionSkipsIneligible",
    "selectionTakesFirst",
    "selectionTakesLater",
    "selectionFindsNone",
    "intervalIsMissing",
    "intervalIsString",
    "intervalIsInteger",
    "intervalIsReal",
    "intervalIsOfOtherType",
    "intervalIsZero",
    "intervalIsDefault",
    "intervalIsRaised",
    "intervalIsTaken",
    "nothingToApply",
    "nothingToRemember",
    "promptIsNotDue",
    "promptIsNotShown",
    "promptIsShown",
    "identifierIsReplaced",
    "intervalIsNotWanted",
};
static_assert(!kBranchNames.back().empty());

constexpr std::int64_t kMicrosecondsPerSecond = 1'000'000;
constexpr std::int64_t kMicrosecondsPerDay = 86'400 * kMicrosecondsPerSecond;

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

bool isAllDigits(const std::string& text) {
  return std::all_of(text.begin(), text.end(), isDigit);
}

std::string lowercased(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

/// The pieces of `text` between its hyphens; one piece more than there are hyphens.
std::vector<std::string> splitAtHyphens(const std::string& text) {
  std::vector<std::string> pieces = {""};
  for (const char c : text) {
    if (c == '-') {
      pieces.emplace_back();
    } else {
      pieces.back() += c;
    }
  }
  return pieces;
}

/// Whether `text` has a letter: one of ASCII, or one of those beyond ASCII that the test draws.
bool containsLetter(const std::string& text) {
  if (std::any_of(text.begin(), text.end(), [](char c) { return std::isalpha(static_cast<unsigned char>(c)) != 0; })) {
    return true;
  }
  const std::vector<std::string> lettersBeyondASCII = {"\u03B2", "\u00E9", "\u4E2D"};
  return std::any_of(lettersBeyondASCII.begin(), lettersBeyondASCII.end(),
                     [&](const std::string& letter) { return text.find(letter) != std::string::npos; });
}

bool isLeapYear(std::int64_t year) {
  return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

std::int64_t daysInMonth(std::int64_t year, std::int64_t month) {
  if (month == 2) return isLeapYear(year) ? 29 : 28;
  return month == 4 || month == 6 || month == 9 || month == 11 ? 30 : 31;
}

/// Days from 1970-01-01 to that day, counted month by month.
std::int64_t daysSince1970(std::int64_t year, std::int64_t month, std::int64_t day) {
  std::int64_t days = 0;
  for (std::int64_t y = 1970; y < year; ++y) days += isLeapYear(y) ? 366 : 365;
  for (std::int64_t y = year; y < 1970; ++y) days -= isLeapYear(y) ? 366 : 365;
  for (std::int64_t m = 1; m < month; ++m) days += daysInMonth(year, m);
  return days + day - 1;
}

/// The start of the day that `text` names as yyyy-MM-dd, in UTC.
std::optional<QuillonDate> parseDay(const std::string& text) {
  const std::vector<std::string> pieces = splitAtHyphens(text);
  if (pieces.size() != 3 || pieces[0].size() != 4 || pieces[1].size() != 2 || pieces[2].size() != 2)
    return std::nullopt;
  if (!isAllDigits(pieces[0] + pieces[1] + pieces[2])) return std::nullopt;
  const std::int64_t year = std::stoll(pieces[0]);
  const std::int64_t month = std::stoll(pieces[1]);
  const std::int64_t day = std::stoll(pieces[2]);
  if (month < 1 || month > 12 || day < 1 || day > daysInMonth(year, month)) return std::nullopt;
  return QuillonDate(std::chrono::microseconds(daysSince1970(year, month, day) * kMicrosecondsPerDay));
}

/// `start` and `count` times `microseconds` more, unless no date is that far away.
std::optional<QuillonDate> later(QuillonDate start, std::int64_t count, std::int64_t microseconds) {
  std::int64_t distance = 0;
  std::int64_t sum = 0;
  if (__builtin_mul_overflow(count, microseconds, &distance)) return std::nullopt;
  if (__builtin_add_overflow(start.time_since_epoch().count(), distance, &sum)) return std::nullopt;
  return QuillonDate(std::chrono::microseconds(sum));
}

}  // namespace

std::string_view VeskUpdateFeedModel::name(Branch branch) {
  return kBranchNames.at(static_cast<std::size_t>(branch));
}

std::size_t VeskUpdateFeedModel::timesReached(Branch branch) const {
  return timesReached_.at(static_cast<std::size_t>(branch));
}

bool VeskUpdateFeedModel::reach(Branch branch) {
  ++timesReached_.at(static_cast<std::size_t>(branch));
  return true;
}

bool VeskUpdateFeedModel::reachIf(bool condition, Branch branch) {
  return condition && reach(branch);
}

std::string VeskUpdateFeedModel::text(const Entry& entry, std::string_view key) {
  const auto value = entry.find(key);
  if (value == entry.end()) return reach(Branch::valueIsMissing), "";
  const auto* string = value->second.getIf<std::string>();
  if (string == nullptr) return reach(Branch::valueIsNoString), "";
  if (string->empty()) reach(Branch::valueIsEmpty);
  return *string;
}

std::optional<std::int64_t> VeskUpdateFeedModel::integer(const std::string& text) {
  const bool hasSign = !text.empty() && (text[0] == '+' || text[0] == '-');
  const std::string digits = text.substr(hasSign ? 1 : 0);
  if (digits.empty()) return reach(Branch::integerHasNoDigits), std::nullopt;
  if (!isAllDigits(digits)) return reach(Branch::integerHasOtherCharacters), std::nullopt;
  std::int64_t value = 0;
  for (const char digit : digits) {
    // Counted downwards when negative, as the smallest integer has no positive counterpart.
    const int step = text[0] == '-' ? '0' - digit : digit - '0';
    if (__builtin_mul_overflow(value, std::int64_t{10}, &value) || __builtin_add_overflow(value, step, &value)) {
      return reach(Branch::integerOverflows), std::nullopt;
    }
  }
  if (hasSign) reach(Branch::integerHasSign);
  return reach(Branch::integerParses), value;
}

QuillonDate VeskUpdateFeedModel::releaseDate(const Entry& entry) {
  const std::string text = this->text(entry, "releasedate");
  if (text.empty()) return reach(Branch::releaseDateIsEmpty), kDistantPast;
  const std::optional<QuillonDate> day = parseDay(text);
  if (!day) return reach(Branch::releaseDateIsMalformed), kDistantPast;
  return reach(Branch::releaseDateParses), *day;
}

std::optional<std::string> VeskUpdateFeedModel::resolvedFeedIdentifier(const Entry& entry) {
  const std::string uid = text(entry, "id");
  const std::string version = text(entry, "version");
  if (!uid.empty()) return reach(Branch::identifierIsID), uid;
  if (!version.empty()) return reach(Branch::identifierIsVersion), version;
  return reach(Branch::identifierIsMissing), std::nullopt;
}

bool VeskUpdateFeedModel::isInRange(const std::string& range, const std::string& installed) {
  const std::vector<std::string> pieces = splitAtHyphens(range);
  if (pieces.size() > 2) reach(Branch::rangeHasPiecesBetween);
  if (pieces.front().empty()) reach(Branch::rangeHasEmptyLowBound);
  if (compare_(pieces.front(), installed) == ComparisonResult::descending) return reach(Branch::rangeIsAbove), false;
  if (pieces.size() == 1) return reach(Branch::rangeHasNoHighBound);
  if (pieces.back().empty()) reach(Branch::rangeHasEmptyHighBound);
  const ComparisonResult order = compare_(installed, pieces.back());
  if (order == ComparisonResult::descending) return reach(Branch::rangeIsBelow), false;
  return reach(order == ComparisonResult::same ? Branch::rangeEndsHere : Branch::rangeGoesOn);
}

bool VeskUpdateFeedModel::isHeldBack(const Entry& entry, const VeskUpdateFeedApplicabilityContext& context) {
  if (!context.shouldApplyUserStaggering) return reach(Branch::staggeringIsOff), false;
  if (context.isManualCheck) return reach(Branch::staggeringSparesManualCheck), false;
  if (text(entry, "important") == "1") return reach(Branch::staggeringSparesImportantUpdate), false;
  if (context.userStaggerGroup <= 0) return reach(Branch::staggerGroupIsFirst), false;
  const std::optional<QuillonDate> day = later(releaseDate(entry), context.userStaggerGroup, kMicrosecondsPerDay);
  if (!day) reach(Branch::staggerDayCannotBeFormed);
  const QuillonDate threshold = day.value_or(kDistantPast);
  if (context.now < threshold) return reach(Branch::staggerDayIsToCome);
  reach(context.now == threshold ? Branch::staggerDayBeginsNow : Branch::staggerDayIsPast);
  return false;
}

bool VeskUpdateFeedModel::passesConstraints(const Entry& entry, const VeskUpdateFeedApplicabilityContext& context) {
  const bool bypass = context.debugBypassApplicabilityChecks;
  const std::string version = text(entry, "version");
  const std::string sku = text(entry, "sku");
  const std::string language = text(entry, "lang");
  const std::string os = text(entry, "os");
  if (bypass) reach(Branch::constraintsAreBypassed);

  if (!version.empty() && !bypass && !isInRange(version, context.appVersion)) {
    return reach(Branch::versionIsRefused), false;
  }
  if (!sku.empty() && !bypass) {
    if (!context.acceptedSKUs.contains(sku)) return reach(Branch::skuIsRefused), false;
    reach(Branch::skuIsAccepted);
  }
  if (!language.empty() && !bypass) {
    if (!context.preferredLanguageCode) reach(Branch::languageIsUnknown);
    const std::string preferred = context.preferredLanguageCode.value_or("");
    if (lowercased(language) != lowercased(preferred)) return reach(Branch::languageIsRefused), false;
    reach(language == preferred ? Branch::languageIsAccepted : Branch::languageIsAcceptedInOtherCase);
  }
  if (!os.empty() && !bypass && !isInRange(os, context.currentOSVersion)) return reach(Branch::osIsRefused), false;
  if (isHeldBack(entry, context)) return false;
  return reach(Branch::constraintsPass);
}

bool VeskUpdateFeedModel::isNewerBuildOfSameVersion(const Entry& entry,
                                                    const VeskUpdateFeedApplicabilityContext& context) {
  const std::string current = text(entry, "current");
  const std::optional<std::int64_t> build = integer(text(entry, "currentbuild"));
  if (!build) return reach(Branch::buildIsMissing), false;
  if (current != context.appVersion) {
    const bool comparesTheSame = compare_(current, context.appVersion) == ComparisonResult::same;
    return reach(comparesTheSame ? Branch::versionIsSpeltOtherwise : Branch::versionIsOlder), false;
  }
  if (context.appBuild < 1) return reach(Branch::appBuildIsUnknown), false;
  if (*build < 1) return reach(Branch::buildIsNotPositive), false;
  if (*build == context.appBuild) return reach(Branch::buildIsTheSame), false;
  if (*build < context.appBuild) return reach(Branch::buildIsOlder), false;
  return reach(Branch::buildIsNewer);
}

VeskUpdateFeedModel::VersionAndBuild VeskUpdateFeedModel::versionAndBuild(
    const Entry& entry, const VeskUpdateFeedApplicabilityContext& context) {
  const std::string current = text(entry, "current");
  const bool beta = containsLetter(current);
  if (context.debugBypassApplicabilityChecks) {
    return reach(Branch::newerByBypass), VersionAndBuild{.newerVersion = true, .newerBuild = false, .beta = beta};
  }
  if (current.empty()) {
    return reach(Branch::newerWithoutVersion), VersionAndBuild{.newerVersion = true, .newerBuild = false, .beta = beta};
  }
  if (compare_(current, context.appVersion) == ComparisonResult::descending) {
    return reach(Branch::newerByVersion), VersionAndBuild{.newerVersion = true, .newerBuild = false, .beta = beta};
  }
  if (isNewerBuildOfSameVersion(entry, context)) {
    reach(beta ? Branch::newerBuildOfBeta : Branch::newerBuildOfRelease);
    return {.newerVersion = true, .newerBuild = !beta, .beta = beta};
  }
  return {.newerVersion = false, .newerBuild = false, .beta = false};
}

VeskUpdateFeedApplicabilityResult VeskUpdateFeedModel::evaluateApplicability(
    const Entry& entry, const VeskUpdateFeedApplicabilityContext& context) {
  VeskUpdateFeedApplicabilityResult result;
  result.shouldProcessFeed = false;
  result.isUpdate = false;
  result.isNewBuild = false;
  result.isBetaUpdate = false;
  result.releaseDate = releaseDate(entry);
  result.resolvedFeedIdentifier = resolvedFeedIdentifier(entry);

  if (text(entry, "type") != "update") return reach(Branch::entryIsNoUpdate), result;
  if (!context.canProcessUpdateFeeds) return reach(Branch::processingIsOff), result;
  if (!passesConstraints(entry, context)) return result;

  const VersionAndBuild found = versionAndBuild(entry, context);
  result.isBetaUpdate = found.beta;
  if (!found.newerVersion && !found.newerBuild) return reach(Branch::entryIsNotNewer), result;
  if (found.beta && !context.checkForBetaReleasesEnabled && !context.isManualCheck) {
    return reach(Branch::betaIsNotWanted), result;
  }
  if (found.beta) {
    reach(context.checkForBetaReleasesEnabled ? Branch::betaIsWanted : Branch::betaIsForManualCheck);
  } else {
    reach(Branch::releaseIsApplicable);
  }
  result.shouldProcessFeed = true;
  result.isUpdate = found.newerVersion;
  result.isNewBuild = found.newerBuild;
  return result;
}

VeskUpdateFeedDisplayResult VeskUpdateFeedModel::evaluateDisplay(const Entry& entry,
                                                                 const VeskUpdateFeedApplicabilityResult& applicability,
                                                                 const VeskUpdateFeedDisplayContext& context) {
  const std::optional<std::string> resolved = applicability.resolvedFeedIdentifier;
  VeskUpdateFeedDisplayResult result;
  result.isEligibleForProcessing = false;
  result.shouldDisplayNow = false;
  result.resolvedFeedIdentifier = resolved;
  result.effectiveStoredFeedIdentifier = context.storedFeedIdentifier;

  if (!applicability.shouldProcessFeed) return reach(Branch::displayOfUnprocessable), result;
  if (!applicability.isUpdate && !applicability.isNewBuild) return reach(Branch::displayOfNothingNew), result;
  if (!resolved) return reach(Branch::displayWithoutIdentifier), result;

  if (context.shouldResetStoredFeedIdentifier) {
    reachIf(context.storedFeedIdentifier.has_value(), Branch::storedIdentifierIsForgotten);
    result.effectiveStoredFeedIdentifier = std::nullopt;
  }

  if (!context.canProcessUpdateFeeds) {
    const std::optional<std::string> stored = result.effectiveStoredFeedIdentifier;
    result.isEligibleForProcessing = true;
    result.shouldDisplayNow = stored != resolved;
    if (!stored) return reach(Branch::neverShownBefore), result;
    return reach(stored == resolved ? Branch::shownBefore : Branch::anotherShownBefore), result;
  }

  if (!mustShowNow(entry, applicability, context) && !reminderDelayIsOver(context)) return result;
  result.isEligibleForProcessing = true;
  result.shouldDisplayNow = true;
  return result;
}

bool VeskUpdateFeedModel::mustShowNow(const Entry& entry, const VeskUpdateFeedApplicabilityResult& applicability,
                                      const VeskUpdateFeedDisplayContext& context) {
  const std::string mustUpdate = text(entry, "mustupdate");
  if (applicability.isNewBuild) return reach(Branch::shownAsNewBuild);
  if (!mustUpdate.empty() && compare_(context.appVersion, mustUpdate) == ComparisonResult::same) {
    return reach(mustUpdate == context.appVersion ? Branch::shownAsMandatory : Branch::shownAsMandatoryInOtherSpelling);
  }
  if (!context.lastNewsDisplayedDate) return reach(Branch::shownForTheFirstTime);
  return reachIf(context.isManualCheck, Branch::shownByManualCheck);
}

bool VeskUpdateFeedModel::reminderDelayIsOver(const VeskUpdateFeedDisplayContext& context) {
  if (context.checkUpdatesAfterHours < 0) reach(Branch::reminderDelayIsNegative);
  const std::int64_t hours = std::max<std::int64_t>(context.checkUpdatesAfterHours, 0);
  const std::optional<QuillonDate> end = later(*context.lastNewsDisplayedDate, hours, 3600 * kMicrosecondsPerSecond);
  if (!end) return reach(Branch::reminderDelayNeverEnds), false;
  if (context.now < *end) return reach(Branch::reminderDelayLasts), false;
  return reach(context.now == *end ? Branch::reminderDelayEndsNow : Branch::reminderDelayIsOver);
}

std::optional<VeskUpdateFeedModel::Candidate> VeskUpdateFeedModel::selectFirstProcessable(
    const std::vector<Entry>& feed, const VeskUpdateFeedApplicabilityContext& applicabilityContext,
    const VeskUpdateFeedDisplayContext& displayContext) {
  for (std::size_t i = 0; i < feed.size(); ++i) {
    const VeskUpdateFeedApplicabilityResult applicability = evaluateApplicability(feed[i], applicabilityContext);
    const VeskUpdateFeedDisplayResult display = evaluateDisplay(feed[i], applicability, displayContext);
    if (text(feed[i], "type") != "update") {
      reach(Branch::selectionSkipsOtherType);
    } else if (!applicability.shouldProcessFeed) {
      reach(Branch::selectionSkipsInapplicable);
    } else if (!display.isEligibleForProcessing || !display.resolvedFeedIdentifier) {
      reach(Branch::selectionSkipsIneligible);
    } else {
      reach(i == 0 ? Branch::selectionTakesFirst : Branch::selectionTakesLater);
      return Candidate{.feed = feed[i], .applicability = applicability, .display = display};
    }
  }
  return reach(Branch::selectionFindsNone), std::nullopt;
}

std::int64_t VeskUpdateFeedModel::refetchInterval(const Entry& entry,
                                                  const VeskUpdateFeedPipelineApplicationInput& input) {
  std::optional<std::int64_t> seconds;
  if (const auto value = entry.find("interval"); value == entry.end()) {
    reach(Branch::intervalIsMissing);
  } else if (const auto* string = value->second.getIf<std::string>()) {
    reach(Branch::intervalIsString);
    seconds = integer(*string);
  } else if (const auto* whole = value->second.getIf<std::int64_t>()) {
    reach(Branch::intervalIsInteger);
    seconds = *whole;
  } else if (const auto* real = value->second.getIf<double>()) {
    reach(Branch::intervalIsReal);
    seconds = static_cast<std::int64_t>(*real);
  } else {
    reach(Branch::intervalIsOfOtherType);
  }

  if (seconds.value_or(0) == 0) {
    reach(input.defaultRefetchIntervalSeconds < 0 ? Branch::intervalIsZero : Branch::intervalIsDefault);
    return std::max<std::int64_t>(input.defaultRefetchIntervalSeconds, 0);
  }
  if (*seconds <= input.minimumRefetchIntervalSeconds) {
    return reach(Branch::intervalIsRaised), input.minimumRefetchIntervalSeconds;
  }
  return reach(Branch::intervalIsTaken), *seconds;
}

VeskUpdateFeedPipelineApplicationResult VeskUpdateFeedModel::apply(
    const std::optional<Candidate>& candidate, const VeskUpdateFeedPipelineApplicationInput& input,
    const std::function<bool(const Entry&)>& displaySelectedUpdate) {
  VeskUpdateFeedPipelineApplicationResult result;
  result.didProcessSelectedUpdate = false;
  result.shouldMarkUpdateCheckPerformedOK = input.shouldConfirmNoUpdatesDialog && input.canProcessUpdateFeeds;
  result.shouldHideNoUpdatesFoundDialog = false;
  result.updatedNewsDictionary = std::nullopt;
  result.resolvedSleepInterval = std::nullopt;

  if (!candidate) return reach(Branch::nothingToApply), result;
  const std::optional<std::string> resolved = candidate->display.resolvedFeedIdentifier;
  if (!resolved) return reach(Branch::nothingToRemember), result;

  if (!candidate->display.shouldDisplayNow) {
    reach(Branch::promptIsNotDue);
  } else if (!displaySelectedUpdate(candidate->feed)) {
    reach(Branch::promptIsNotShown);
  } else {
    reach(Branch::promptIsShown);
    auto news = input.existingNewsDictionary;
    reachIf(news.contains(input.feedTypeKey), Branch::identifierIsReplaced);
    news.insert_or_assign(input.feedTypeKey, QuillonPropertyListValue(*resolved));
    result.updatedNewsDictionary = std::move(news);
    result.shouldHideNoUpdatesFoundDialog = input.canProcessUpdateFeeds;
  }
  if (input.shouldSetSleepInterval) {
    result.resolvedSleepInterval = static_cast<double>(refetchInterval(candidate->feed, input));
  } else {
    reach(Branch::intervalIsNotWanted);
  }
  result.didProcessSelectedUpdate = true;
  return result;
}

}  // namespace quillon
