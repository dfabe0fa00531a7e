#include "QuillonTool/FeedSimulation/FeedInstalledVersions.h"

#include <algorithm>
#include <string_view>

#include "QuillonCore/Text/DecimalNumber.h"
#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonUpdatesCore/VeskUpdateFeedKeys.h"

namespace quillon {
namespace {

std::optional<FeedPopulation::Version> offeredVersion(const VeskUpdateFeedEntry& entry) {
  const std::string_view version = stringOrEmpty(entry, VeskUpdateFeedKeys::currentVersion);
  if (version.empty()) return std::nullopt;
  const auto build = decimalNumber<std::int64_t>(stringOrEmpty(entry, VeskUpdateFeedKeys::currentBuild));
  return FeedPopulation::Version{.version = std::string(version),
                                 .build = std::max<std::int64_t>(build.value_or(0), 0)};
}

}  // namespace

FeedInstalledVersions::FeedInstalledVersions(const FeedPopulation::Shares<FeedPopulation::Version>& versions,
                                             const VeskUpdateFeed& feed)
    : versionCount_(versions.size()) {
  states_.reserve(versions.size() + feed.size());
  for (const auto& share : versions) states_.emplace_back(share.value);
  for (const VeskUpdateFeedEntry entry : feed) states_.push_back(offeredVersion(entry));
}

std::string FeedInstalledVersions::label(std::size_t state) const {
  if (const auto& known = states_[state]) return known->text();
  return "entry " + std::to_string(state - versionCount_ + 1);
}

}  // namespace quillon
