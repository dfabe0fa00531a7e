#pragma once

#include <functional>
#include <memory>
#include <string_view>

#include "QuillonCore/Contracts/QuillonCalendar.h"
#include "QuillonCore/Runtime/QuillonSystemCalendar.h"
#include "QuillonCore/Values/ComparisonResult.h"
#include "QuillonUpdatesCore/VeskUpdateFeed.h"
#include "QuillonUpdatesCore/VeskUpdateFeedApplicabilityContext.h"
#include "QuillonUpdatesCore/VeskUpdateFeedApplicabilityResult.h"
#include "QuillonUpdatesCore/VeskUpdateFeedDisplayContext.h"
#include "QuillonUpdatesCore/VeskUpdateFeedDisplayResult.h"

namespace quillon {

/// How the first of two versions is ordered against the second: VeskUpdateVersionComparison::compare.
using VeskUpdateVersionComparing = std::function<ComparisonResult(std::string_view, std::string_view)>;

/// Decides whether an entry of a feed concerns an installation, and whether to show it. Remembers nothing and may be
/// called from any thread. Values of a wrong type or form count as missing; no feed makes an evaluation fail.
class VeskUpdateFeedEligibilityEvaluator {
 public:
  /// Release days are days of `calendar`.
  explicit VeskUpdateFeedEligibilityEvaluator(
      std::shared_ptr<const QuillonCalendar> calendar = makeSystemCalendar()) noexcept;

  /// Whether the entry `feed` concerns the installation of `context`. Release date and identifier are those of the
  /// entry whatever the answer is.
  [[nodiscard]] VeskUpdateFeedApplicabilityResult evaluateApplicability(
      const VeskUpdateFeedEntry& feed, const VeskUpdateFeedApplicabilityContext& context,
      const VeskUpdateVersionComparing& versionComparator) const;

  /// Whether the entry `feed`, with its result `applicability`, is to be processed and shown. A reminder delay of more
  /// seconds than 64 bits hold, where it counts, is a mistake of the host and ends the process.
  [[nodiscard]] VeskUpdateFeedDisplayResult evaluateDisplay(const VeskUpdateFeedEntry& feed,
                                                            const VeskUpdateFeedApplicabilityResult& applicability,
                                                            const VeskUpdateFeedDisplayContext& context,
                                                            const VeskUpdateVersionComparing& versionComparator) const;

 private:
  struct VersionAndBuild {
    bool isNewerVersion = false;
    bool isNewerBuild = false;
    bool isBeta = false;
  };

  struct Fields;

  [[nodiscard]] bool passesApplicabilityConstraints(const Fields& fields, QuillonDate releaseDate,
                                                    const VeskUpdateFeedApplicabilityContext& context,
                                                    const VeskUpdateVersionComparing& versionComparator) const;
  [[nodiscard]] bool passesStaggering(const Fields& fields, QuillonDate releaseDate,
                                      const VeskUpdateFeedApplicabilityContext& context) const;
  [[nodiscard]] static VersionAndBuild evaluateVersionAndBuild(const Fields& fields,
                                                               const VeskUpdateFeedApplicabilityContext& context,
                                                               const VeskUpdateVersionComparing& versionComparator);
  [[nodiscard]] static bool isNewerBuildOfSameVersion(const Fields& fields,
                                                      const VeskUpdateFeedApplicabilityContext& context) noexcept;
  [[nodiscard]] QuillonDate releaseDate(const Fields& fields) const noexcept;

  std::shared_ptr<const QuillonCalendar> calendar_;
};

}  // namespace quillon
