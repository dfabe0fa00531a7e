#include "QuillonTool/FeedLint/ShadowedEntriesCheck.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "QuillonCore/Text/DecimalNumber.h"
#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonTool/FeedLint/FeedVersionRange.h"
#include "QuillonTool/FeedLint/UniversalTimeCalendar.h"
#include "QuillonUpdatesCore/VeskUpdateFeedKeys.h"

namespace quillon {
namespace {

using Keys = VeskUpdateFeedKeys;

/// Most earlier entries of one group that an entry is compared with.
constexpr std::size_t kLargestGroup = 16;

QuillonDate releaseDayOf(const VeskUpdateFeedEntry& entry) noexcept {
  return Keys::releaseDateFormatter(UniversalTimeCalendar())
      .date(stringOrEmpty(entry, Keys::releaseDate))
      .value_or(kDistantPast);
}

/// What decides for whom an entry is, and when.
struct EntryScope {
  EntryScope(const VeskUpdateFeedEntry& entry, std::size_t entryIndex)
      : index(entryIndex),
        version(stringOrEmpty(entry, Keys::version)),
        os(stringOrEmpty(entry, Keys::os)),
        sku(stringOrEmpty(entry, Keys::sku)),
        language(stringOrEmpty(entry, Keys::language)),
        current(stringOrEmpty(entry, Keys::currentVersion)),
        mustUpdate(stringOrEmpty(entry, Keys::mustUpdate)),
        build(decimalNumber<std::int64_t>(stringOrEmpty(entry, Keys::currentBuild)).value_or(0)),
        isImportant(stringOrEmpty(entry, Keys::important) == "1"),
        releaseDay(releaseDayOf(entry)) {}

  /// Whether it can be offered as a newer build.
  [[nodiscard]] bool canBeNewBuild() const noexcept { return build >= 1 && !current.empty(); }

  std::size_t index;
  std::string_view version;
  std::string_view os;
  std::string_view sku;
  std::string_view language;
  std::string_view current;
  std::string_view mustUpdate;
  std::int64_t build;
  bool isImportant;
  QuillonDate releaseDay;
};

/// Whether `a` is a newer build wherever `b` is.
bool isNewBuildWherever(const EntryScope& a, const EntryScope& b) noexcept {
  return !b.canBeNewBuild() || (a.current == b.current && a.build >= b.build);
}

/// Whether `a` is newer, as a version or as a build, wherever `b` is; and a beta only where `b` is.
bool offersWherever(const EntryScope& a, const EntryScope& b) {
  if (a.current.empty()) return true;
  if (b.current.empty()) return false;
  if (a.current == b.current) return isNewBuildWherever(a, b);
  return isNewerWherever(a.current, b.current);
}

/// Whether staggering has let `a` pass wherever it lets `b` pass.
bool isReleasedWherever(const EntryScope& a, const EntryScope& b) noexcept {
  return a.isImportant || (!b.isImportant && a.releaseDay <= b.releaseDay);
}

/// Whether `a` applies to every installation that `b` applies to.
bool appliesWherever(const EntryScope& a, const EntryScope& b) {
  return (a.sku.empty() || a.sku == b.sku) && (a.language.empty() || a.language == b.language) &&
         isReleasedWherever(a, b) && offersWherever(a, b) && admitsEverythingOf(a.version, b.version) &&
         admitsEverythingOf(a.os, b.os);
}

/// Whether `a`, where both apply, is shown without waiting for the reminder wherever `b` is.
bool isForcedWherever(const EntryScope& a, const EntryScope& b) noexcept {
  return (b.mustUpdate.empty() || a.mustUpdate == b.mustUpdate) && isNewBuildWherever(a, b);
}

/// Earlier entries, found again by what they have in common with a later one.
class EarlierEntries {
 public:
  struct Match {
    const EntryScope* entry = nullptr;
    bool isShadowing = false;
  };

  /// An earlier entry that shadows `entry`, else one that applies wherever it does.
  [[nodiscard]] Match match(const EntryScope& entry) const {
    Match best;
    for (const std::string_view sku : {entry.sku, std::string_view()}) {
      for (const std::string_view language : {entry.language, std::string_view()}) {
        improve(best, entry, audience(sku, language));
        if (best.isShadowing) return best;
      }
    }
    improve(best, entry, offer(entry));
    return best;
  }

  void add(const EntryScope& entry) {
    for (const std::string& name : {audience(entry.sku, entry.language), offer(entry)}) {
      std::vector<EntryScope>& group = groups_[name];
      if (group.size() < kLargestGroup) group.push_back(entry);
    }
  }

 private:
  static void append(std::string& name, std::string_view text) {
    name.append(std::to_string(text.size())).append(":").append(text);
  }
  /// All entries for the same people.
  static std::string audience(std::string_view sku, std::string_view language) {
    std::string name = "audience";
    append(name, sku);
    append(name, language);
    return name;
  }
  /// All entries that offer the same to the same installations. Finds repetitions in groups that are too large.
  static std::string offer(const EntryScope& entry) {
    std::string name = "offer";
    for (const std::string_view text : {entry.sku, entry.language, entry.version, entry.os, entry.current}) {
      append(name, text);
    }
    return name;
  }

  void improve(Match& best, const EntryScope& entry, const std::string& name) const {
    const auto group = groups_.find(name);
    if (group == groups_.end()) return;
    for (const EntryScope& earlier : group->second) {
      if (!appliesWherever(earlier, entry)) continue;
      const bool isShadowing = isForcedWherever(earlier, entry);
      if (best.entry == nullptr || isShadowing) best = {.entry = &earlier, .isShadowing = isShadowing};
      if (isShadowing) return;
    }
  }

  std::unordered_map<std::string, std::vector<EntryScope>> groups_;
};

/// Whether the entry is offered to somebody, as far as can be told from itself.
bool canBeOffered(const VeskUpdateFeedEntry& entry, const EntryScope& scope) {
  if (stringOrEmpty(entry, Keys::type) != Keys::updateType) return false;
  if (scope.version.empty() && stringOrEmpty(entry, Keys::uid).empty()) return false;
  return !admitsNothing(FeedVersionRange::parse(scope.version)) && !admitsNothing(FeedVersionRange::parse(scope.os));
}

/// Numbers of entries for people count from 1.
std::string numberOf(const EntryScope& entry) {
  return std::to_string(entry.index + 1);
}

void addFinding(const EntryScope& entry, const EarlierEntries::Match& match, std::vector<FeedFinding>& findings) {
  const std::string number = numberOf(*match.entry);
  FeedEntryFindings entryFindings(findings, entry.index);
  if (match.isShadowing) {
    entryFindings.addWarning({}, {.problem = "Entry " + number +
                                             ", which stands before this one, is offered wherever "
                                             "this one would be.",
                                  .effect = "The entry is never offered.",
                                  .mend = "Leave it out, put it before entry " + number + ", or limit entry " + number +
                                          " by \"version\", \"os\", \"sku\" or "
                                          "\"lang\"."});
  } else {
    entryFindings.addWarning({}, {.problem = "Entry " + number +
                                             ", which stands before this one, applies wherever "
                                             "this one does.",
                                  .effect = "The entry is offered only while entry " + number +
                                            " waits for its reminder and this one does not have to.",
                                  .mend = "Leave it out, put it before entry " + number + ", or limit entry " + number +
                                          " by \"version\", \"os\", \"sku\" or "
                                          "\"lang\"."});
  }
}

}  // namespace

void checkShadowedEntries(const VeskUpdateFeed& feed, std::vector<FeedFinding>& findings) {
  EarlierEntries earlier;
  std::size_t index = 0;
  for (const VeskUpdateFeedEntry entry : feed) {
    const EntryScope scope(entry, index++);
    if (!canBeOffered(entry, scope)) continue;
    const EarlierEntries::Match match = earlier.match(scope);
    if (match.entry != nullptr) addFinding(scope, match, findings);
    // What an entry shadows, shadows nothing that the entry itself does not.
    if (!match.isShadowing) earlier.add(scope);
  }
}

}  // namespace quillon
