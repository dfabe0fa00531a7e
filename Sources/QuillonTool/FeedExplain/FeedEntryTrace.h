#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "QuillonTool/FeedExplain/FeedCheckContext.h"
#include "QuillonTool/QuillonToolJSONObject.h"
#include "QuillonUpdatesCore/VeskUpdateFeed.h"
#include "QuillonUpdatesCore/VeskUpdateFeedEligibilityEvaluator.h"

namespace quillon {

/// One of the questions that a host asks about an entry, and the answer. All of them are asked here, also those that a
/// host does not come to after one has failed.
struct FeedEntryTest {
  enum class Outcome : std::uint8_t {
    passed,
    failed,
    skipped,  ///< the question does not arise
  };

  std::string_view name;
  /// What the answer depends on: values of the entry by their keys, values of the installation by their fields.
  QuillonToolJSONObject inputs = {};
  Outcome outcome = Outcome::passed;
  /// The answer in words.
  std::string reason = {};
};

/// "passed", "failed" or "skipped".
[[nodiscard]] std::string_view outcomeName(FeedEntryTest::Outcome outcome) noexcept;

/// The tests of one entry in the order in which hosts make them.
///
/// The rules stay where they are: each answer is that of `evaluator` about an entry that has nothing but the keys of
/// that one test, or about an installation for which nothing else can fail.
class FeedEntryTestMaker {
 public:
  /// Borrows both.
  FeedEntryTestMaker(const VeskUpdateFeedEligibilityEvaluator& evaluator, const FeedCheckContext& context) noexcept
      : evaluator_(evaluator), context_(context) {}

  [[nodiscard]] std::vector<FeedEntryTest> testsOf(const VeskUpdateFeedEntry& entry) const;

 private:
  const VeskUpdateFeedEligibilityEvaluator& evaluator_;
  const FeedCheckContext& context_;
};

}  // namespace quillon
