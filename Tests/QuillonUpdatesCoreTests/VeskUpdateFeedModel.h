#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "QuillonCore/Values/QuillonDate.h"
#include "QuillonCore/Values/QuillonPropertyListValue.h"
#include "QuillonUpdatesCore/VeskUpdateFeedApplicabilityContext.h"
#include "QuillonUpdatesCore/VeskUpdateFeedApplicabilityResult.h"
#include "QuillonUpdatesCore/VeskUpdateFeedDisplayContext.h"
#include "QuillonUpdatesCore/VeskUpdateFeedDisplayResult.h"
#include "QuillonUpdatesCore/VeskUpdateFeedEligibilityEvaluator.h"
#include "QuillonUpdatesCore/VeskUpdateFeedPipelineApplicationInput.h"
#include "QuillonUpdatesCore/VeskUpdateFeedPipelineApplicationResult.h"

namespace quillon {

/// The rules of feed evaluation as one reads them, step by step, on entries of their own and in UTC. Shares no code
/// with the evaluators, which are held against it, and counts how often each of its branches was taken.
class VeskUpdateFeedModel {
 public:
  using Entry = QuillonPropertyListValue::Dictionary;

  struct Candidate {
    Entry feed;
    VeskUpdateFeedApplicabilityResult applicability;
    VeskUpdateFeedDisplayResult display;

    friend bool operator==(const Candidate&, const Candidate&) = default;
  };

  /// Every way that a decision can go.
  enum class Branch : std::uint8_t {
    valueIsMissing,
    valueIsNoString,
    valueIsEmpty,
    integerHasNoDigits,
    integerHasOtherCharacters,
    integerOverflows,
    integerHasSign,
    integerParses,
    releaseDateIsEmpty,
    releaseDateIsMalformed,
    releaseDateParses,
    identifierIsID,
    identifierIsVersion,
    identifierIsMissing,
    rangeHasPiecesBetween,
    rangeHasEmptyLowBound,
    rangeIsAbove,
    rangeHasNoHighBound,
    rangeHasEmptyHighBound,
    rangeIsBelow,
    rangeEndsHere,
    rangeGoesOn,
    staggeringIsOff,
    staggeringSparesManualCheck,
    staggeringSparesImportantUpdate,
    staggerGroupIsFirst,
    staggerDayCannotBeFormed,
    staggerDayIsToCome,
    staggerDayBeginsNow,
    staggerDayIsPast,
    constraintsAreBypassed,
    versionIsRefused,
    skuIsRefused,
    skuIsAccepted,
    languageIsUnknown,
    languageIsRefused,
    languageIsAccepted,
    languageIsAcceptedInOtherCase,
    osIsRefused,
    constraintsPass,
    buildIsMissing,
    versionIsSpeltOtherwise,
    versionIsOlder,
    appBuildIsUnknown,
    buildIsNotPositive,
    buildIsTheSame,
    buildIsOlder,
    buildIsNewer,
    newerByBypass,
    newerWithoutVersion,
    newerByVersion,
    newerBuildOfBeta,
    newerBuildOfRelease,
    entryIsNoUpdate,
    processingIsOff,
    entryIsNotNewer,
    betaIsNotWanted,
    betaIsWanted,
    betaIsForManualCheck,
    releaseIsApplicable,
    displayOfUnprocessable,
    displayOfNothingNew,
    displayWithoutIdentifier,
    storedIdentifierIsForgotten,
    neverShownBefore,
    shownBefore,
    anotherShownBefore,
    shownAsNewBuild,
    shownAsMandatory,
    shownAsMandatoryInOtherSpelling,
    shownForTheFirstTime,
    shownByManualCheck,
    reminderDelayIsNegative,
    reminderDelayNeverEnds,
    reminderDelayLasts,
    reminderDelayEndsNow,
    reminderDelayIsOver,
    selectionSkipsOtherType,
    selectionSkipsInapplicable,
    selectionSkipsIneligible,
    selectionTakesFirst,
    selectionTakesLater,
    selectionFindsNone,
    intervalIsMissing,
    intervalIsString,
    intervalIsInteger,
    intervalIsReal,
    intervalIsOfOtherType,
    intervalIsZero,
    intervalIsDefault,
    intervalIsRaised,
    intervalIsTaken,
    nothingToApply,
    nothingToRemember,
    promptIsNotDue,
    promptIsNotShown,
    promptIsShown,
    identifierIsReplaced,
    intervalIsNotWanted,
  };
  static constexpr std::size_t kBranchCount = static_cast<std::size_t>(Branch::intervalIsNotWanted) + 1;

  explicit VeskUpdateFeedModel(VeskUpdateVersionComparing compare) : compare_(std::move(compare)) {}

  [[nodiscard]] VeskUpdateFeedApplicabilityResult evaluateApplicability(
      const Entry& entry, const VeskUpdateFeedApplicabilityContext& context);
  [[nodiscard]] VeskUpdateFeedDisplayResult evaluateDisplay(const Entry& entry,
                                                            const VeskUpdateFeedApplicabilityResult& applicability,
                                                            const VeskUpdateFeedDisplayContext& context);
  [[nodiscard]] std::optional<Candidate> selectFirstProcessable(
      const std::vector<Entry>& feed, const VeskUpdateFeedApplicabilityContext& applicabilityContext,
      const VeskUpdateFeedDisplayContext& displayContext);
  /// Takes `candidate` in place of the one in `input`.
  [[nodiscard]] VeskUpdateFeedPipelineApplicationResult apply(
      const std::optional<Candidate>& candidate, const VeskUpdateFeedPipelineApplicationInput& input,
      const std::function<bool(const Entry&)>& displaySelectedUpdate);

  [[nodiscard]] static std::string_view name(Branch branch);
  [[nodiscard]] std::size_t timesReached(Branch branch) const;

 private:
  struct VersionAndBuild {
    bool newerVersion;
    bool newerBuild;
    bool beta;
  };

  /// Counts `branch`; true, so that a decision can end in it.
  bool reach(Branch branch);
  /// Counts `branch` when `condition` holds, and answers that.
  bool reachIf(bool condition, Branch branch);

  [[nodiscard]] std::string text(const Entry& entry, std::string_view key);
  [[nodiscard]] std::optional<std::int64_t> integer(const std::string& text);
  [[nodiscard]] QuillonDate releaseDate(const Entry& entry);
  [[nodiscard]] std::optional<std::string> resolvedFeedIdentifier(const Entry& entry);
  [[nodiscard]] bool isInRange(const std::string& range, const std::string& installed);
  [[nodiscard]] bool isHeldBack(const Entry& entry, const VeskUpdateFeedApplicabilityContext& context);
  [[nodiscard]] bool passesConstraints(const Entry& entry, const VeskUpdateFeedApplicabilityContext& context);
  [[nodiscard]] bool isNewerBuildOfSameVersion(const Entry& entry, const VeskUpdateFeedApplicabilityContext& context);
  [[nodiscard]] VersionAndBuild versionAndBuild(const Entry& entry, const VeskUpdateFeedApplicabilityContext& context);
  [[nodiscard]] bool mustShowNow(const Entry& entry, const VeskUpdateFeedApplicabilityResult& applicability,
                                 const VeskUpdateFeedDisplayContext& context);
  [[nodiscard]] bool reminderDelayIsOver(const VeskUpdateFeedDisplayContext& context);
  [[nodiscard]] std::int64_t refetchInterval(const Entry& entry, const VeskUpdateFeedPipelineApplicationInput& input);

  VeskUpdateVersionComparing compare_;
  std::array<std::size_t, kBranchCount> timesReached_{};
};

}  // namespace quillon
