#include "QuillonTool/FeedExplain/FeedEntryTrace.h"

#include <cstddef>
#include <initializer_list>
#include <optional>
#include <utility>

#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonTool/FeedExplain/FeedDateText.h"
#include "QuillonTool/FeedLint/QuotedFeedText.h"
#include "QuillonUpdatesCore/VeskUpdateFeedKeys.h"
#include "QuillonUpdatesCore/VeskUpdateVersionComparison.h"

namespace quillon {
namespace {

using Keys = VeskUpdateFeedKeys;
using Outcome = FeedEntryTest::Outcome;
using Value = QuillonPropertyListValue;
using Json = QuillonToolJSONObject;

/// Entries that each have some of the keys of one.
class PartialEntries {
 public:
  explicit PartialEntries(const VeskUpdateFeedEntry& entry) : feed_(makeFeed(entry)) {}

  [[nodiscard]] VeskUpdateFeedEntry type() const noexcept { return feed_.at(0); }
  [[nodiscard]] VeskUpdateFeedEntry nothing() const noexcept { return feed_.at(1); }
  [[nodiscard]] VeskUpdateFeedEntry version() const noexcept { return feed_.at(2); }
  [[nodiscard]] VeskUpdateFeedEntry sku() const noexcept { return feed_.at(3); }
  [[nodiscard]] VeskUpdateFeedEntry language() const noexcept { return feed_.at(4); }
  [[nodiscard]] VeskUpdateFeedEntry os() const noexcept { return feed_.at(5); }
  [[nodiscard]] VeskUpdateFeedEntry rollOut() const noexcept { return feed_.at(6); }
  [[nodiscard]] VeskUpdateFeedEntry offer() const noexcept { return feed_.at(7); }

 private:
  static Value part(const VeskUpdateFeedEntry& entry, std::initializer_list<std::string_view> keys) {
    Value::Dictionary part;
    for (const std::string_view key : keys) {
      if (const auto value = entry.find(key)) part.emplace(std::string(key), value->toValue());
    }
    return Value(std::move(part));
  }
  /// The same as an update, whatever the entry is.
  static Value update(const VeskUpdateFeedEntry& entry, std::initializer_list<std::string_view> keys) {
    Value update = part(entry, keys);
    update.getIf<Value::Dictionary>()->insert_or_assign(std::string(Keys::type), Value(Keys::updateType));
    return update;
  }
  static VeskUpdateFeed makeFeed(const VeskUpdateFeedEntry& entry) {
    const Value::Array parts = {part(entry, {Keys::type}),
                                update(entry, {}),
                                update(entry, {Keys::version}),
                                update(entry, {Keys::sku}),
                                update(entry, {Keys::language}),
                                update(entry, {Keys::os}),
                                update(entry, {Keys::releaseDate, Keys::important}),
                                update(entry, {Keys::currentVersion, Keys::currentBuild})};
    return VeskUpdateFeed(QuillonPropertyListDocument(writeBinaryPropertyList(Value(parts))));
  }

  VeskUpdateFeed feed_;
};

/// What an entry says for `key`, null where it counts as missing.
std::optional<std::string_view> inputOf(const VeskUpdateFeedEntry& entry, std::string_view key) noexcept {
  const std::string_view text = stringOrEmpty(entry, key);
  return text.empty() ? std::nullopt : std::optional(text);
}

std::string rangeReason(bool passed, std::string_view installed, std::string_view range) {
  return quotedFeedText(installed) + (passed ? " is within " : " is not within ") + quotedFeedText(range);
}

/// Makes the tests of one entry, one after another.
class TestList {
 public:
  TestList(const VeskUpdateFeedEligibilityEvaluator& evaluator, const FeedCheckContext& context,
           const VeskUpdateFeedEntry& entry)
      : evaluator_(evaluator),
        applicability_(context.applicability),
        display_(context.display),
        entry_(entry),
        parts_(entry),
        open_(context.applicability) {
    open_.canProcessUpdateFeeds = true;
    open_.shouldApplyUserStaggering = false;
    offer_ = evaluateWith(parts_.offer(), [](auto& installation) { installation.isManualCheck = true; });
  }

  std::vector<FeedEntryTest> make() {
    addType();
    addProcessing();
    addRange("version", Keys::version, parts_.version(), "appVersion", applicability_.appVersion);
    addSKU();
    addLanguage();
    addRange("os", Keys::os, parts_.os(), "currentOSVersion", applicability_.currentOSVersion);
    addStaggering();
    addNewer();
    addBeta();
    addIdentifier();
    addStoredIdentifier();
    addReminder();
    return std::move(tests_);
  }

 private:
  /// Of an installation that differs by `change` from one for which only the entry's own values can fail.
  template <typename Change>
  [[nodiscard]] VeskUpdateFeedApplicabilityResult evaluateWith(const VeskUpdateFeedEntry& entry, Change change) const {
    VeskUpdateFeedApplicabilityContext installation = open_;
    change(installation);
    return evaluator_.evaluateApplicability(entry, installation, &VeskUpdateVersionComparison::compare);
  }
  [[nodiscard]] bool isProcessed(const VeskUpdateFeedEntry& entry) const {
    return evaluateWith(entry, [](auto&) {}).shouldProcessFeed;
  }
  [[nodiscard]] std::string_view text(std::string_view key) const noexcept { return stringOrEmpty(entry_, key); }

  void add(std::string_view name, Json inputs, Outcome outcome, std::string reason) {
    tests_.push_back({.name = name, .inputs = std::move(inputs), .outcome = outcome, .reason = std::move(reason)});
  }
  void add(std::string_view name, Json inputs, bool passed, std::string reason) {
    add(name, std::move(inputs), passed ? Outcome::passed : Outcome::failed, std::move(reason));
  }
  /// Adds the test of a key without value, or one that is bypassed; false when it has to be made.
  bool addSkipped(std::string_view name, std::string_view key, const Json& inputs) {
    if (!text(key).empty() && !open_.debugBypassApplicabilityChecks) return false;
    add(name, inputs, Outcome::skipped,
        text(key).empty() ? "the entry has no \"" + std::string(key) + "\"" : "bypassed");
    return true;
  }

  void addType() {
    const bool passed = isProcessed(parts_.type());
    add("type", Json().with("type", inputOf(entry_, Keys::type)), passed,
        passed ? "the entry is an update"
               : "the type is " + (text(Keys::type).empty() ? "missing" : quotedFeedText(text(Keys::type))) +
                     ", not \"update\"");
  }

  void addProcessing() {
    const bool passed = evaluateWith(parts_.nothing(), [this](auto& installation) {
                          installation.canProcessUpdateFeeds = applicability_.canProcessUpdateFeeds;
                        }).shouldProcessFeed;
    add("processing", Json().withBool("canProcessUpdateFeeds", applicability_.canProcessUpdateFeeds), passed,
        passed ? "feeds are processed" : "feeds are not processed");
  }

  void addRange(std::string_view name, std::string_view key, const VeskUpdateFeedEntry& part,
                std::string_view installedName, std::string_view installed) {
    const Json inputs = Json().with(key, inputOf(entry_, key)).with(installedName, installed);
    if (addSkipped(name, key, inputs)) return;
    const bool passed = isProcessed(part);
    add(name, inputs, passed, rangeReason(passed, installed, text(key)));
  }

  void addSKU() {
    std::vector<std::string_view> accepted(applicability_.acceptedSKUs.begin(), applicability_.acceptedSKUs.end());
    const Json inputs = Json().with("sku", inputOf(entry_, Keys::sku)).withTexts("acceptedSKUs", accepted);
    if (addSkipped("sku", Keys::sku, inputs)) return;
    const bool passed = isProcessed(parts_.sku());
    add("sku", inputs, passed, quotedFeedText(text(Keys::sku)) + (passed ? " is accepted" : " is not accepted"));
  }

  void addLanguage() {
    const Json inputs = Json()
                            .with("lang", inputOf(entry_, Keys::language))
                            .with("preferredLanguageCode", applicability_.preferredLanguageCode);
    if (addSkipped("lang", Keys::language, inputs)) return;
    const bool passed = isProcessed(parts_.language());
    add("lang", inputs, passed,
        quotedFeedText(text(Keys::language)) +
            (passed ? " is the preferred language" : " is not the preferred language"));
  }

  void addStaggering() {
    const auto result = evaluateWith(parts_.rollOut(), [this](auto& installation) {
      installation.shouldApplyUserStaggering = applicability_.shouldApplyUserStaggering;
    });
    const Json inputs = Json()
                            .with("releasedate", inputOf(entry_, Keys::releaseDate))
                            .with("important", inputOf(entry_, Keys::important))
                            .withBool("shouldApplyUserStaggering", applicability_.shouldApplyUserStaggering)
                            .withNumber("userStaggerGroup", applicability_.userStaggerGroup)
                            .withBool("isManualCheck", applicability_.isManualCheck)
                            .with("now", feedDateText(applicability_.now));
    if (!applicability_.shouldApplyUserStaggering) {
      add("staggering", inputs, Outcome::skipped, "no staggering is in force");
      return;
    }
    const std::string group = std::to_string(applicability_.userStaggerGroup);
    add("staggering", inputs, result.shouldProcessFeed,
        result.shouldProcessFeed
            ? "group " + group + " is not held back"
            : "group " + group + " waits, counted from the release day " + quotedFeedText(text(Keys::releaseDate)));
  }

  void addNewer() {
    const Json inputs = Json()
                            .with("current", inputOf(entry_, Keys::currentVersion))
                            .with("currentbuild", inputOf(entry_, Keys::currentBuild))
                            .with("appVersion", applicability_.appVersion)
                            .withNumber("appBuild", applicability_.appBuild);
    std::string reason = newerReason();
    if (open_.debugBypassApplicabilityChecks) reason = "bypassed";
    add("newer", inputs, offer_.shouldProcessFeed, std::move(reason));
  }
  [[nodiscard]] std::string newerReason() const {
    if (text(Keys::currentVersion).empty()) return "the entry names no version and counts as newer";
    const std::string offered = quotedFeedText(text(Keys::currentVersion));
    const std::string installed = quotedFeedText(applicability_.appVersion);
    if (offer_.isNewBuild) return offered + " has a newer build";
    if (offer_.isUpdate) return offered + " is newer than " + installed;
    return offered + " is neither newer than " + installed + " nor a newer build of it";
  }

  void addBeta() {
    const Json inputs = Json()
                            .with("current", inputOf(entry_, Keys::currentVersion))
                            .withBool("checkForBetaReleasesEnabled", applicability_.checkForBetaReleasesEnabled)
                            .withBool("isManualCheck", applicability_.isManualCheck);
    if (!offer_.isBetaUpdate) {
      add("beta", inputs, Outcome::skipped, "no beta is offered");
      return;
    }
    const bool passed = isProcessed(parts_.offer());
    add("beta", inputs, passed, passed ? "betas are wanted" : "betas are not wanted");
  }

  void addIdentifier() {
    const auto result = evaluateWith(entry_, [](auto&) {});
    add("identifier", Json().with("id", inputOf(entry_, Keys::uid)).with("version", inputOf(entry_, Keys::version)),
        result.resolvedFeedIdentifier.has_value(),
        result.resolvedFeedIdentifier ? "the entry is " + quotedFeedText(*result.resolvedFeedIdentifier)
                                      : "the entry has neither \"id\" nor \"version\"");
  }

  /// Of the entry, as if all other tests had passed.
  [[nodiscard]] VeskUpdateFeedDisplayResult displayResult() const {
    VeskUpdateFeedApplicabilityResult applicability = offer_;
    applicability.shouldProcessFeed = true;
    applicability.isUpdate = !applicability.isNewBuild;
    const auto own = evaluateWith(entry_, [](auto&) {});
    applicability.resolvedFeedIdentifier = own.resolvedFeedIdentifier.value_or("none");
    return evaluator_.evaluateDisplay(entry_, applicability, display_, &VeskUpdateVersionComparison::compare);
  }

  void addStoredIdentifier() {
    const Json inputs = Json()
                            .withBool("canProcessUpdateFeeds", display_.canProcessUpdateFeeds)
                            .with("storedFeedIdentifier", display_.storedFeedIdentifier)
                            .withBool("shouldResetStoredFeedIdentifier", display_.shouldResetStoredFeedIdentifier);
    if (display_.canProcessUpdateFeeds) {
      add("stored identifier", inputs, Outcome::skipped, "does not count where feeds are processed");
      return;
    }
    const bool passed = displayResult().shouldDisplayNow;
    add("stored identifier", inputs, passed, passed ? "the entry was not shown last" : "the entry was shown last");
  }

  void addReminder() {
    const auto lastShown = display_.lastNewsDisplayedDate;
    const Json inputs =
        Json()
            .with("mustupdate", inputOf(entry_, Keys::mustUpdate))
            .with("appVersion", display_.appVersion)
            .withBool("isNewBuild", offer_.isNewBuild)
            .withBool("isManualCheck", display_.isManualCheck)
            .with("lastNewsDisplayedDate", lastShown ? std::optional(feedDateText(*lastShown)) : std::nullopt)
            .withNumber("checkUpdatesAfterHours", display_.checkUpdatesAfterHours)
            .with("now", feedDateText(display_.now));
    if (!display_.canProcessUpdateFeeds) {
      add("reminder", inputs, Outcome::skipped, "does not count where no feeds are processed");
      return;
    }
    const bool passed = displayResult().isEligibleForProcessing;
    add("reminder", inputs, passed,
        passed ? "no reminder delay is to be waited for"
               : "an entry was shown at " + feedDateText(lastShown.value_or(kDistantPast)) +
                     ", and the reminder delay is not over");
  }

  const VeskUpdateFeedEligibilityEvaluator& evaluator_;
  const VeskUpdateFeedApplicabilityContext& applicability_;
  const VeskUpdateFeedDisplayContext& display_;
  VeskUpdateFeedEntry entry_;
  PartialEntries parts_;
  /// The installation, with feeds processed and nobody held back.
  VeskUpdateFeedApplicabilityContext open_;
  /// What the entry offers, to somebody who takes betas.
  VeskUpdateFeedApplicabilityResult offer_;
  std::vector<FeedEntryTest> tests_;
};

}  // namespace

std::string_view outcomeName(Outcome outcome) noexcept {
  switch (outcome) {
    case Outcome::passed:
      return "passed";
    case Outcome::failed:
      return "failed";
    case Outcome::skipped:
      break;
  }
  return "skipped";
}

std::vector<FeedEntryTest> FeedEntryTestMaker::testsOf(const VeskUpdateFeedEntry& entry) const {
  return TestList(evaluator_, context_, entry).make();
}

}  // namespace quillon
