#include "QuillonTool/QuillonToolFeedAdd.h"

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "QuillonCore/Runtime/QuillonSystemCalendar.h"
#include "QuillonCore/Runtime/QuillonSystemClock.h"
#include "QuillonCore/Text/CountedNoun.h"
#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonTool/FeedAdd/FeedDocument.h"
#include "QuillonTool/FeedAdd/FeedEntryOptions.h"
#include "QuillonTool/FeedAdd/FeedRelease.h"
#include "QuillonTool/FeedDay.h"
#include "QuillonTool/FeedLint/FeedFindingText.h"
#include "QuillonTool/FeedLint/FeedLint.h"
#include "QuillonTool/FeedLint/QuotedFeedText.h"
#include "QuillonTool/QuillonToolFeedFile.h"
#include "QuillonTool/QuillonToolFileOperand.h"
#include "QuillonTool/QuillonToolUsageError.h"
#include "QuillonUpdatesCore/VeskUpdateFeedKeys.h"

namespace quillon {
namespace {

constexpr std::string_view kHelp = R"(Usage: quillon feed add FILE APP --archive ARCHIVE --url-prefix URL [OPTION...]
       quillon feed add FILE APP [--archive ARCHIVE] --archive-url URL
           [OPTION...]

Writes the entry of the application bundle APP, and of the archive that it was
packed into, to the feed in FILE: version, build, minimum system, and where the
archive can be downloaded. An entry with the same type, identifier, "sku" and
"lang" is changed, else one is added, before the first of these that is not
newer. All other entries and keys stay. Creates FILE when there is none.

Nothing is written when 'quillon feed lint' finds an error in the entry. Prints
what has changed, and what there is to say about the feed.

Options:
  --archive ARCHIVE        The archive; it must exist and not be empty.
  --url-prefix URL         Where the archive is put: its file name is added.
  --archive-url URL        Where the archive can be downloaded.
  --type TYPE              Type of the entry (default: update).
  --identifier ID          What hosts remember the entry by (default: the
                           version of APP).
  --version-range RANGE    Installed versions that the entry is for.
  --minimum-os VERSION     Oldest system that it is for (default: the minimum
                           system of APP; the high bound of an entry that there
                           is stays).
  --os-range RANGE         Systems that it is for.
  --sku SKU                Way of distribution that it is for.
  --language CODE          Preferred language that it is for.
  --must-update VERSION    Installed version that is not to wait.
  --important              Do not hold the entry back by staggering.
  --release-date DAY       Day of the release, as 2024-06-10 (default: today,
                           for an entry that is added or gets another version
                           or build).
  --interval SECONDS       When hosts fetch the feed again.
  --release-notes-url URL  Page of the prompt.
  --title TEXT             Title of the prompt.
  --prompt-size SIZE       Size of the prompt, as '{640, 480}'.
  --installer-url URL      Archive with an installer.
  --installer-name NAME    Name of the installer in that archive.
  --help                   Print this text.

Exit status: 0 when the feed has the entry, 1 when it has not, 2 for a wrong
command line.
)";

constexpr std::string_view kArchive = "--archive";
constexpr std::string_view kURLPrefix = "--url-prefix";
constexpr std::string_view kArchiveURL = "--archive-url";

using Entry = FeedDocument::Entry;
using Keys = VeskUpdateFeedKeys;
using Texts = std::map<std::string, std::string, std::less<>>;
using Value = QuillonPropertyListValue;

/// The archive's size in bytes. Throws QuillonError when there is none, or nothing in it.
std::uint64_t sizeOfArchive(const QuillonURL& archive, const QuillonFileManaging& fileManager) {
  if (!fileManager.fileExists(archive)) throw QuillonError("There is no archive at " + archive.path());
  const auto status = fileManager.itemStatus(fileManager.resolvingSymbolicLinks(archive));
  if (!status || status->type != QuillonFileType::regular || status->size == 0) {
    throw QuillonError("The archive at " + archive.path() + " is no file, or an empty one");
  }
  return status->size;
}

/// The file name of `archive` with percent escapes.
std::string escapedName(const QuillonURL& archive) {
  const std::string text = archive.absoluteString();
  return text.substr(text.rfind('/') + 1);
}

std::string archiveURL(const QuillonToolArguments& arguments) {
  const std::optional<std::string> whole = arguments.value(kArchiveURL);
  std::optional<std::string> prefix = arguments.value(kURLPrefix);
  if (whole.has_value() == prefix.has_value()) {
    throw QuillonToolUsageError("Write either --archive-url, or --archive and --url-prefix.");
  }
  if (whole) return *whole;
  if (!prefix->ends_with('/')) *prefix += '/';
  return *prefix + escapedName(fileAt(arguments.requiredValue(kArchive), kArchive));
}

/// What the entry of the release has to say, but for what depends on the entry that there is.
Texts textsOf(const FeedRelease& release, const QuillonToolArguments& arguments) {
  Texts texts = readFeedEntryOptions(arguments);
  texts.emplace(Keys::type, Keys::updateType);
  texts.emplace(Keys::uid, release.version);
  texts.emplace(Keys::currentVersion, release.version);
  texts.emplace(Keys::currentBuild, release.build);
  texts.emplace(Keys::appBundleInstallerURL, archiveURL(arguments));
  return texts;
}

void setTexts(Entry& entry, const Texts& texts) {
  for (const auto& [key, text] : texts) entry.insert_or_assign(key, Value(text));
}

/// Where the feed had an entry for the release, what it was, and what takes its place.
struct Change {
  std::optional<std::size_t> oldIndex;
  Entry before;
  Entry after;

  [[nodiscard]] bool isOtherRelease() const noexcept {
    return differsIn(Keys::currentVersion) || differsIn(Keys::currentBuild);
  }
  [[nodiscard]] bool differsIn(std::string_view key) const noexcept {
    return stringOrEmpty(before, key) != stringOrEmpty(after, key);
  }
};

/// The range from `low` on, up to the high bound that `range` has.
std::string rangeFrom(std::string_view low, std::string_view range) {
  const std::size_t hyphen = range.find('-');
  return std::string(low).append(hyphen == std::string_view::npos ? std::string_view() : range.substr(hyphen));
}

Change makeChange(const FeedDocument& feed, const FeedRelease& release, const QuillonToolArguments& arguments) {
  const Texts texts = textsOf(release, arguments);
  Change change;
  setTexts(change.after, texts);
  change.oldIndex = feed.find(change.after);
  if (change.oldIndex) change.before = feed.entries().at(*change.oldIndex);
  change.after = change.before;
  setTexts(change.after, texts);
  const std::optional<std::string> minimum =
      arguments.has("--minimum-os") ? arguments.value("--minimum-os") : release.minimumSystemVersion;
  if (minimum && !arguments.has("--os-range")) {
    change.after.insert_or_assign(std::string(Keys::os),
                                  Value(rangeFrom(*minimum, stringOrEmpty(change.before, Keys::os))));
  }
  if (!texts.contains(Keys::releaseDate) && change.isOtherRelease()) {
    change.after.insert_or_assign(std::string(Keys::releaseDate),
                                  Value(feedDayText(feedDayAt(QuillonSystemClock().now(), *makeSystemCalendar()))));
  }
  return change;
}

/// Puts the changed entry where it belongs, and returns that place.
std::size_t apply(const Change& change, FeedDocument& feed) {
  if (change.oldIndex && !change.differsIn(Keys::currentVersion)) {
    feed.replace(*change.oldIndex, change.after);
    return *change.oldIndex;
  }
  if (change.oldIndex) feed.remove(*change.oldIndex);
  return feed.insert(change.after);
}

std::string valueText(const Entry& entry, std::string_view key) {
  const auto found = entry.find(key);
  if (found == entry.end()) return "none";
  const auto* const text = found->second.getIf<std::string>();
  return text == nullptr ? "no string" : quotedFeedText(*text);
}

void printChange(const Change& change, std::size_t index, QuillonToolConsole& console) {
  const bool isSame = change.oldIndex == index && change.before == change.after;
  console.printLine("Entry " + std::to_string(index + 1) + " " + valueText(change.after, Keys::uid) +
                    (isSame            ? ": is up to date"
                     : change.oldIndex ? ": changed"
                                       : ": added"));
  for (const auto& [key, value] : change.after) {
    const auto before = change.before.find(key);
    if (before != change.before.end() && before->second == value) continue;
    console.printLine("  " + key + ": " + valueText(change.before, key) + " -> " + valueText(change.after, key));
  }
}

FeedDocument readDocument(const QuillonURL& file, const QuillonFileManaging& fileManager) {
  if (!fileManager.itemStatus(file)) return {};
  const std::string bytes = bytesOfFeed(file, fileManager);
  try {
    return FeedDocument(bytes);
  } catch (const QuillonError& error) {
    throw QuillonError(file.path() + " is no feed: " + error.description());
  }
}

/// Throws QuillonError when the entry at `index` is wrong.
void requireSound(const FeedLintReport& report, std::size_t index, QuillonToolConsole& console) {
  bool isSound = true;
  for (const FeedFinding& finding : report.findings) {
    if (finding.index != index || finding.severity != FeedFindingSeverity::error) continue;
    isSound = false;
    console.printError(findingLine(finding));
  }
  if (!isSound) throw QuillonError("The entry has errors; nothing was written");
}

QuillonToolExitStatus add(const QuillonToolArguments& arguments, const QuillonToolServices& services,
                          QuillonToolConsole& console) {
  const QuillonFileManaging& fileManager = *services.fileManager;
  const auto& operands = arguments.operands({"FILE", "APP"});
  const QuillonURL file = fileAt(operands[0], "FILE");
  const QuillonURL bundle = fileAt(operands[1], "APP");
  (void)textsOf({}, arguments);  // a wrong command line is found before any file is looked at
  const std::optional<std::string> archive = arguments.value(kArchive);
  const std::uint64_t archiveSize = archive ? sizeOfArchive(fileAt(*archive, kArchive), fileManager) : 0;
  FeedDocument feed = readDocument(file, fileManager);

  const Change change = makeChange(feed, readFeedRelease(bundle, fileManager), arguments);
  const std::size_t index = apply(change, feed);
  const std::string bytes = feed.bytes();
  const FeedLintReport report = lintFeedBytes(bytes);
  requireSound(report, index, console);
  if (change.oldIndex != index || change.before != change.after) {
    // A link to the feed stays one.
    const bool exists = fileManager.fileExists(file);
    fileManager.writeFileAtomically(exists ? fileManager.resolvingSymbolicLinks(file) : file, bytes);
  }
  printChange(change, index, console);
  if (archive) console.printLine("  archive: " + countedNoun(archiveSize, "byte", "bytes"));
  for (const FeedFinding& finding : report.findings) console.printLine(findingLine(finding));
  return kToolSuccess;
}

std::vector<QuillonToolOption> options() {
  using Kind = QuillonToolOption::Kind;
  std::vector<QuillonToolOption> options = feedEntryOptions();
  for (const std::string_view name : {kArchive, kURLPrefix, kArchiveURL}) {
    options.push_back({.name = name, .kind = Kind::withValue});
  }
  return options;
}

}  // namespace

QuillonToolSubcommand feedAddSubcommand() {
  return {.group = "feed",
          .name = "add",
          .summary = "Write the entry of a release into a feed",
          .help = kHelp,
          .options = options(),
          .action = add};
}

}  // namespace quillon
