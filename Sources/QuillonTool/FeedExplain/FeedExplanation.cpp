#include "QuillonTool/FeedExplain/FeedExplanation.h"

#include <algorithm>

#include "QuillonTool/FeedExplain/FeedDateText.h"
#include "QuillonUpdatesCore/VeskUpdateFeedProcessingEvaluator.h"
#include "QuillonUpdatesCore/VeskUpdateVersionComparison.h"

namespace quillon {
namespace {

using Json = QuillonToolJSONObject;

Json testObject(const FeedEntryTest& test) {
  return Json()
      .with("name", test.name)
      .withObject("inputs", test.inputs)
      .with("outcome", outcomeName(test.outcome))
      .with("reason", test.reason);
}

/// The position in `feed` of the entry that is offered.
std::optional<std::size_t> offeredIndex(const VeskUpdateFeed& feed, const FeedCheckContext& context) {
  const auto candidate = VeskUpdateFeedProcessingEvaluator().selectFirstProcessable(
      feed, context.applicability, context.display, &VeskUpdateVersionComparison::compare);
  if (!candidate) return std::nullopt;
  for (std::size_t index = 0; index < feed.size(); ++index) {
    if (feed.at(index).isSameAs(candidate->feed)) return index;
  }
  return std::nullopt;
}

}  // namespace

const FeedEntryTest* FeedEntryExplanation::decidingTest() const noexcept {
  const auto found = std::ranges::find(tests, FeedEntryTest::Outcome::failed, &FeedEntryTest::outcome);
  return found == tests.end() ? nullptr : &*found;
}

Json FeedEntryExplanation::json() const {
  std::vector<Json> testObjects;
  for (const FeedEntryTest& test : tests) testObjects.push_back(testObject(test));
  return Json()
      .withNumber("index", index)
      .withObject("applicability", jsonOf(applicability))
      .withObject("display", jsonOf(display))
      .withObjects("tests", testObjects);
}

Json jsonOf(const VeskUpdateFeedApplicabilityResult& result) {
  return Json()
      .withBool("shouldProcessFeed", result.shouldProcessFeed)
      .withBool("isUpdate", result.isUpdate)
      .withBool("isNewBuild", result.isNewBuild)
      .withBool("isBetaUpdate", result.isBetaUpdate)
      .with("releaseDate", feedDateText(result.releaseDate))
      .with("resolvedFeedIdentifier", result.resolvedFeedIdentifier);
}

Json jsonOf(const VeskUpdateFeedDisplayResult& result) {
  return Json()
      .withBool("isEligibleForProcessing", result.isEligibleForProcessing)
      .withBool("shouldDisplayNow", result.shouldDisplayNow)
      .with("resolvedFeedIdentifier", result.resolvedFeedIdentifier)
      .with("effectiveStoredFeedIdentifier", result.effectiveStoredFeedIdentifier);
}

std::optional<std::size_t> explainFeed(const VeskUpdateFeed& feed, const FeedCheckContext& context,
                                       const std::function<void(const FeedEntryExplanation&)>& explained) {
  const VeskUpdateFeedEligibilityEvaluator evaluator;
  const FeedEntryTestMaker tests(evaluator, context);
  const VeskUpdateVersionComparing compare = &VeskUpdateVersionComparison::compare;
  std::size_t index = 0;
  for (const VeskUpdateFeedEntry entry : feed) {
    FeedEntryExplanation explanation;
    explanation.index = index++;
    explanation.applicability = evaluator.evaluateApplicability(entry, context.applicability, compare);
    explanation.display = evaluator.evaluateDisplay(entry, explanation.applicability, context.display, compare);
    explanation.tests = tests.testsOf(entry);
    explained(explanation);
  }
  return offeredIndex(feed, context);
}

}  // namespace quillon
