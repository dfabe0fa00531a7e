// Parsing feeds beside libplist, and evaluating them beside a plain loop over parsed values. After the runs: time for
// each entry, how it grows with the feed, and the memory that parsing takes beyond the feed's own bytes.

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <plist/plist.h>
#include <time.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Benchmarks/BestTimesReporter.h"
#include "QuillonCore/Text/DecimalNumber.h"
#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"
#include "QuillonCore/VeskVersionComparator.h"
#include "QuillonUpdatesCore/VeskUpdateFeedParser.h"
#include "QuillonUpdatesCore/VeskUpdateFeedProcessingEvaluator.h"
#include "QuillonUpdatesCore/VeskUpdateVersionComparison.h"

namespace {

/// Bytes that operator new has handed out, and the most that it had at once.
std::size_t bytesAllocated = 0;
std::size_t mostBytesAllocated = 0;

}  // namespace

void* operator new(std::size_t size) {
  void* const memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  bytesAllocated += malloc_usable_size(memory);
  if (bytesAllocated > mostBytesAllocated) mostBytesAllocated = bytesAllocated;
  return memory;
}
void operator delete(void* memory) noexcept {
  bytesAllocated -= malloc_usable_size(memory);
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  operator delete(memory);
}

namespace quillon {
namespace {

using Dictionary = QuillonPropertyListValue::Dictionary;

constexpr int kEntryCounts[] = {10'000, 100'000, 1'000'000};
/// The entry count at which peers are compared.
constexpr int kComparedCount = 100'000;

enum class Contents {
  /// Nothing but entries of another type.
  news,
  /// Nothing but updates that pass every test, and for which it is too early to be shown again.
  updates,
};

/// Days are those of ten years, so that hardly two entries that follow each other share one.
std::string releaseDay(int entry) {
  using namespace std::chrono;
  const year_month_day day(sys_days(2014y / January / 1) + days(entry * 7 % 3650));
  char text[sizeof "2014-01-01"];
  std::snprintf(text, sizeof text, "%04d-%02u-%02u", static_cast<int>(day.year()) % 10'000,
                static_cast<unsigned>(day.month()), static_cast<unsigned>(day.day()));
  return text;
}

std::vector<std::pair<std::string_view, std::string>> fields(Contents contents, int entry) {
  const std::string number = std::to_string(entry);
  return {{"type", contents == Contents::news ? "news" : "update"},
          {"id", "update-" + number},
          {"version", "2.0-2.9"},
          {"os", "12.0-15.9"},
          {"sku", "direct"},
          {"lang", "EN"},
          {"current", "3." + number},
          {"currentbuild", number},
          {"releasedate", releaseDay(entry)},
          {"title", "An update is available"},
          {"url", "https://updates.example.com/notes/" + number},
          {"app-installer", "https://updates.example.com/archive/" + number + "/Application.zip"}};
}

std::string xmlFeed(Contents contents, int entries) {
  std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<array>\n";
  for (int entry = 0; entry < entries; ++entry) {
    text += "\t<dict>\n";
    for (const auto& [key, value] : fields(contents, entry)) {
      text.append("\t\t<key>").append(key).append("</key>\n\t\t<string>").append(value).append("</string>\n");
    }
    text += "\t</dict>\n";
  }
  return text + "</array>\n</plist>\n";
}

std::string binaryFeed(Contents contents, int entries) {
  QuillonPropertyListValue::Array feed;
  for (int entry = 0; entry < entries; ++entry) {
    Dictionary values;
    for (const auto& [key, value] : fields(contents, entry)) {
      values.emplace(std::string(key), QuillonPropertyListValue(value));
    }
    feed.emplace_back(std::move(values));
  }
  return writeBinaryPropertyList(QuillonPropertyListValue(std::move(feed)));
}

/// A feed of that kind; the last one that was asked for is kept.
template <std::string make(Contents, int)>
const std::string& feedBytes(Contents contents, int entries) {
  static std::string bytes;
  static std::optional<std::pair<Contents, int>> made;
  if (made != std::pair(contents, entries)) {
    bytes = make(contents, entries);
    made = {contents, entries};
    malloc_trim(0);
  }
  return bytes;
}

VeskUpdateFeedApplicabilityContext installation() {
  VeskUpdateFeedApplicabilityContext context;
  context.appVersion = "2.5.1";
  context.appBuild = 100;
  context.currentOSVersion = "14.2.1";
  context.preferredLanguageCode = "en";
  context.acceptedSKUs = {"direct", "setapp"};
  context.canProcessUpdateFeeds = true;
  context.shouldApplyUserStaggering = true;
  context.userStaggerGroup = 3;
  context.now = std::chrono::sys_days(std::chrono::year(2024) / 6 / 15);
  return context;
}

VeskUpdateFeedDisplayContext shownAnHourAgo() {
  VeskUpdateFeedDisplayContext context;
  context.appVersion = installation().appVersion;
  context.canProcessUpdateFeeds = true;
  context.now = installation().now;
  context.lastNewsDisplayedDate = context.now - std::chrono::hours(1);
  context.checkUpdatesAfterHours = 24;
  return context;
}

/// The same tests as one would write them down over dictionaries, with the C library's dates.
class PlainLoop {
 public:
  /// How many entries pass every test.
  [[nodiscard]] std::size_t passing(const QuillonPropertyListValue& feed) const {
    std::size_t count = 0;
    for (const QuillonPropertyListValue& entry : *feed.getIf<QuillonPropertyListValue::Array>()) {
      if (passes(*entry.getIf<Dictionary>())) ++count;
    }
    return count;
  }

 private:
  static bool isInRange(const std::string& version, const std::string& range) {
    if (range.empty()) return true;
    const std::string low = range.substr(0, range.find('-'));
    if (VeskVersionComparator::compareVersion(low, version) == ComparisonResult::descending) return false;
    const std::size_t hyphen = range.rfind('-');
    return hyphen == std::string::npos ||
           VeskVersionComparator::compareVersion(version, range.substr(hyphen + 1)) != ComparisonResult::descending;
  }

  [[nodiscard]] QuillonDate threshold(const Dictionary& entry) const {
    tm day{};
    if (strptime(stringOrEmpty(entry, "releasedate").c_str(), "%Y-%m-%d", &day) == nullptr) return kDistantPast;
    day.tm_mday += static_cast<int>(context_.userStaggerGroup);
    day.tm_isdst = -1;
    return std::chrono::sys_seconds(std::chrono::seconds(mktime(&day)));
  }

  [[nodiscard]] bool passes(const Dictionary& entry) const {
    if (stringOrEmpty(entry, "type") != "update") return false;
    if (!isInRange(context_.appVersion, stringOrEmpty(entry, "version"))) return false;
    if (!context_.acceptedSKUs.contains(stringOrEmpty(entry, "sku"))) return false;
    if (strcasecmp(stringOrEmpty(entry, "lang").c_str(), context_.preferredLanguageCode->c_str()) != 0) return false;
    if (!isInRange(context_.currentOSVersion, stringOrEmpty(entry, "os"))) return false;
    if (context_.now < threshold(entry)) return false;
    const std::string identifier = stringOrEmpty(entry, "id");
    return !identifier.empty() &&
           VeskVersionComparator::compareVersion(stringOrEmpty(entry, "current"), context_.appVersion) ==
               ComparisonResult::descending;
  }

  VeskUpdateFeedApplicabilityContext context_ = installation();
};

void checkThat(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "FeedBenchmark: %s\n", what);
  std::abort();
}

/// Every entry is evaluated, for none is to be shown.
void evaluate(benchmark::State& state, Contents contents) {
  const auto entries = static_cast<int>(state.range(0));
  const VeskUpdateFeed feed(QuillonPropertyListDocument::borrowing(feedBytes<xmlFeed>(contents, entries)));
  const VeskUpdateFeedProcessingEvaluator evaluator;
  const VeskUpdateFeedApplicabilityContext applicability = installation();
  const VeskUpdateFeedDisplayContext display = shownAnHourAgo();
  for (auto _ : state) {
    const auto candidate =
        evaluator.selectFirstProcessable(feed, applicability, display, &VeskUpdateVersionComparison::compare);
    checkThat(!candidate, "an entry was chosen");
  }
}

void evaluateNews(benchmark::State& state) {
  evaluate(state, Contents::news);
}

void evaluateUpdates(benchmark::State& state) {
  evaluate(state, Contents::updates);
}

void plainLoop(benchmark::State& state, Contents contents, std::size_t expected) {
  const QuillonPropertyListValue feed =
      readPropertyList(feedBytes<xmlFeed>(contents, static_cast<int>(state.range(0))));
  const PlainLoop loop;
  for (auto _ : state) checkThat(loop.passing(feed) == expected, "the plain loop found another number of entries");
}

void plainLoopNews(benchmark::State& state) {
  plainLoop(state, Contents::news, 0);
}

void plainLoopUpdates(benchmark::State& state) {
  plainLoop(state, Contents::updates, static_cast<std::size_t>(state.range(0)));
}

template <std::string make(Contents, int)>
void parse(benchmark::State& state) {
  const std::string& bytes = feedBytes<make>(Contents::updates, static_cast<int>(state.range(0)));
  for (auto _ : state) {
    // The parser takes the bytes over; handing out another copy of them is not its work.
    state.PauseTiming();
    std::optional<std::string> data(bytes);
    state.ResumeTiming();
    benchmark::DoNotOptimize(VeskUpdateFeedParser().parseFeed(std::move(data)).size());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(bytes.size()) * static_cast<std::int64_t>(state.iterations()));
}

template <std::string make(Contents, int), auto read>
void libplist(benchmark::State& state) {
  const std::string& bytes = feedBytes<make>(Contents::updates, static_cast<int>(state.range(0)));
  for (auto _ : state) {
    plist_t list = nullptr;
    read(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &list);
    plist_free(list);
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(bytes.size()) * static_cast<std::int64_t>(state.iterations()));
}

/// An entry for versions from one of very many characters on, evaluated for an installation of a version that differs
/// from it in its end only, so that all of both is looked at.
void longRange(benchmark::State& state, std::string_view part) {
  std::string range;
  while (range.size() < static_cast<std::size_t>(state.range(0))) range += part;
  const Dictionary entry{{"type", QuillonPropertyListValue("update")}, {"version", QuillonPropertyListValue(range)}};
  const QuillonPropertyListValue list(QuillonPropertyListValue::Array{QuillonPropertyListValue(entry)});
  const VeskUpdateFeed feed = VeskUpdateFeedParser().parseFeed(writeBinaryPropertyList(list));
  VeskUpdateFeedApplicabilityContext context = installation();
  context.appVersion = range + "1";
  const VeskUpdateFeedEligibilityEvaluator evaluator;
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        evaluator.evaluateApplicability(feed.at(0), context, &VeskUpdateVersionComparison::compare));
  }
}

void longRangeOfASCII(benchmark::State& state) {
  longRange(state, "1.b  beta 1 ");
}

void longRangeOfMarks(benchmark::State& state) {
  longRange(state, "\u0301\u0323");
}

/// Nanoseconds of `name` for each entry of a feed; absent when it has not run.
std::optional<double> perEntry(const BestTimesReporter& times, const std::string& name, int entries) {
  const std::optional<double> time = times.time(name + "/" + std::to_string(entries));
  if (!time) return std::nullopt;
  return *time / entries;
}

void printSummary(const BestTimesReporter& times, const char* name, const char* peer) {
  const std::optional<double> smallest = perEntry(times, name, kEntryCounts[0]);
  for (const int entries : kEntryCounts) {
    const std::optional<double> time = perEntry(times, name, entries);
    if (!time || !smallest) return;
    std::printf("%-11s %8d entries: %5.0f ns each, %.2f times that of %d\n", name, entries, *time, *time / *smallest,
                kEntryCounts[0]);
  }
  const std::optional<double> other = perEntry(times, peer, kComparedCount);
  if (other) {
    std::printf("%-11s %8d entries: %.1f times as fast as %s\n", name, kComparedCount,
                *other / perEntry(times, name, kComparedCount).value_or(0), peer);
  }
}

template <std::string make(Contents, int)>
void printMemory(const char* format, int entries) {
  std::string bytes = make(Contents::updates, entries);
  const std::size_t size = bytes.size();
  std::optional<std::string> data(std::move(bytes));
  const std::size_t before = bytesAllocated;
  mostBytesAllocated = before;
  const VeskUpdateFeed feed = VeskUpdateFeedParser().parseFeed(std::move(data));
  const std::size_t peak = mostBytesAllocated - before;
  const std::size_t kept = bytesAllocated - before;
  const auto none = VeskUpdateFeedProcessingEvaluator().selectFirstProcessable(feed, installation(), shownAnHourAgo(),
                                                                               &VeskUpdateVersionComparison::compare);
  checkThat(!none, "an entry was chosen");
  std::printf("%s, %d entries: %zu bytes; parsed beside them %zu, at most %zu meanwhile; evaluation adds %zu\n", format,
              entries, size, kept, peak, mostBytesAllocated - before - peak);
}

}  // namespace
}  // namespace quillon

int main(int argumentCount, char** arguments) {
  using namespace quillon;
  setenv("TZ", "Europe/Vienna", 1);
  tzset();
  benchmark::Initialize(&argumentCount, arguments);
  const std::pair<const char*, void (*)(benchmark::State&)> all[] = {
      {"News", evaluateNews},
      {"Updates", evaluateUpdates},
      {"ParseXML", parse<xmlFeed>},
      {"ParseBinary", parse<binaryFeed>},
  };
  for (const auto& [name, function] : all) {
    auto* const registered = benchmark::RegisterBenchmark(name, function);
    for (const int entries : kEntryCounts) registered->Arg(entries);
  }
  for (const int characters : kEntryCounts) {
    benchmark::RegisterBenchmark("LongRangeASCII", longRangeOfASCII)->Arg(characters);
    benchmark::RegisterBenchmark("LongRangeMarks", longRangeOfMarks)->Arg(characters);
  }
  benchmark::RegisterBenchmark("PlainLoopNews", plainLoopNews)->Arg(kComparedCount);
  benchmark::RegisterBenchmark("PlainLoopUpdates", plainLoopUpdates)->Arg(kComparedCount);
  benchmark::RegisterBenchmark("LibplistXML", libplist<xmlFeed, plist_from_xml>)->Arg(kComparedCount);
  benchmark::RegisterBenchmark("LibplistBinary", libplist<binaryFeed, plist_from_bin>)->Arg(kComparedCount);
  BestTimesReporter times;
  benchmark::RunSpecifiedBenchmarks(&times);
  printSummary(times, "News", "PlainLoopNews");
  printSummary(times, "Updates", "PlainLoopUpdates");
  printSummary(times, "ParseXML", "LibplistXML");
  printSummary(times, "ParseBinary", "LibplistBinary");
  if (times.time("ParseXML/100000")) printMemory<xmlFeed>("XML", kComparedCount);
  if (times.time("ParseBinary/100000")) printMemory<binaryFeed>("binary", kComparedCount);
  return 0;
}
