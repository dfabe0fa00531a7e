// Reading feeds beside libplist and pugixml's DOM. After the runs: how many times faster we are, and the memory that a
// read list takes beyond the bytes it was read from.

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <plist/plist.h>

#include <cstdint>
#include <cstdio>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <pugixml.hpp>

#include "Benchmarks/BestTimesReporter.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"
#include "QuillonCore/Values/QuillonPropertyListDocument.h"

namespace quillon {
namespace {

constexpr int kKeys = 12;
constexpr int kEntryCounts[] = {10, 1000, 100000};

std::string valueOf(int entry, int key) {
  switch (key % 4) {
    case 0:
      return "https://updates.example.com/archive/" + std::to_string(entry) + "/Application.zip";
    case 1:
      return "1." + std::to_string(entry) + "." + std::to_string(key);
    case 2:
      return "11.0";
    default:
      return "Notes for the update number " + std::to_string(entry * kKeys + key);
  }
}

QuillonPropertyListValue feedOf(int entries) {
  QuillonPropertyListValue::Array feed;
  for (int i = 0; i < entries; ++i) {
    QuillonPropertyListValue::Dictionary entry;
    for (int key = 0; key < kKeys; ++key) {
      entry.emplace("UpdateFeedKey" + std::to_string(key), QuillonPropertyListValue(valueOf(i, key)));
    }
    feed.emplace_back(std::move(entry));
  }
  return QuillonPropertyListValue(std::move(feed));
}

struct Feed {
  std::string xml;
  std::string binary;
};

const Feed& feed(int entries) {
  static std::map<int, Feed> feeds;
  Feed& result = feeds[entries];
  if (result.xml.empty()) {
    const QuillonPropertyListValue value = feedOf(entries);
    result = {writeXMLPropertyList(value), writeBinaryPropertyList(value)};
  }
  return result;
}

/// Bytes of the lengths of all values, each found by its key.
std::size_t searched(const QuillonPropertyListDocument& document, const std::vector<std::string>& keys) {
  std::size_t total = 0;
  for (const QuillonPropertyListNode entry : document.root().elements()) {
    for (const std::string& key : keys) total += entry.find(key)->stringIf()->size();
  }
  return total;
}

std::vector<std::string> keys() {
  std::vector<std::string> all;
  for (int key = 0; key < kKeys; ++key) all.push_back("UpdateFeedKey" + std::to_string(key));
  return all;
}

void readAll(std::string_view bytes) {
  const QuillonPropertyListDocument document = QuillonPropertyListDocument::borrowing(bytes);
  benchmark::DoNotOptimize(document.root().size());
}

void readAndSearch(std::string_view bytes) {
  static const std::vector<std::string> kAllKeys = keys();
  const QuillonPropertyListDocument document = QuillonPropertyListDocument::borrowing(bytes);
  benchmark::DoNotOptimize(searched(document, kAllKeys));
}

void readValue(std::string_view bytes) {
  benchmark::DoNotOptimize(readPropertyList(bytes));
}

void libplistXML(std::string_view bytes) {
  plist_t list = nullptr;
  plist_from_xml(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &list);
  plist_free(list);
}

void libplistBinary(std::string_view bytes) {
  plist_t list = nullptr;
  plist_from_bin(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &list);
  plist_free(list);
}

void pugixmlDOM(std::string_view bytes) {
  pugi::xml_document document;
  benchmark::DoNotOptimize(document.load_buffer(bytes.data(), bytes.size()));
}

/// Bytes of the heap that are in use.
std::size_t heapInUse() {
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

template <typename Read>
std::size_t heapFor(const Read& read) {
  const std::size_t before = heapInUse();
  const auto list = read();
  benchmark::DoNotOptimize(&list);
  return heapInUse() - before;
}

struct LibplistList {
  plist_t list = nullptr;
  ~LibplistList() { plist_free(list); }
};

void printMemory(int entries) {
  const Feed& bytes = feed(entries);
  const auto libplist = [&](auto function, const std::string& from) {
    auto read = std::make_unique<LibplistList>();
    function(from.data(), static_cast<std::uint32_t>(from.size()), &read->list);
    return read;
  };
  const auto ours = [](const std::string& from) {
    return heapFor([&] { return QuillonPropertyListDocument::borrowing(from); });
  };
  const std::size_t pugixml = heapFor([&] {
    auto document = std::make_unique<pugi::xml_document>();
    document->load_buffer(bytes.xml.data(), bytes.xml.size());
    return document;
  });
  std::printf(
      "%7d entries: XML %zu bytes, heap %zu, libplist %zu, pugixml %zu; binary %zu bytes, heap %zu, libplist %zu\n",
      entries, bytes.xml.size(), ours(bytes.xml),
      heapFor([&] { return libplist([](auto... all) { return plist_from_xml(all...); }, bytes.xml); }), pugixml,
      bytes.binary.size(), ours(bytes.binary),
      heapFor([&] { return libplist([](auto... all) { return plist_from_bin(all...); }, bytes.binary); }));
}

void printRatio(const BestTimesReporter& times, const std::string& ours, const std::string& peer, int entries) {
  const std::string suffix = "/" + std::to_string(entries);
  const std::optional<double> own = times.time(ours + suffix);
  const std::optional<double> other = times.time(peer + suffix);
  if (!own || !other) return;
  std::printf("%7d entries: %s is %.1f times as fast as %s\n", entries, ours.c_str(), *other / *own, peer.c_str());
}

void registerReader(const char* name, void (*read)(std::string_view), std::string Feed::*bytes) {
  auto* const registered = benchmark::RegisterBenchmark(name, [read, bytes](benchmark::State& state) {
    const std::string& text = feed(static_cast<int>(state.range(0))).*bytes;
    // What the run before has left to the allocator is not tidied up in this one's time.
    malloc_trim(0);
    for (auto _ : state) read(text);
    state.SetBytesProcessed(static_cast<std::int64_t>(text.size()) * static_cast<std::int64_t>(state.iterations()));
  });
  for (const int entries : kEntryCounts) registered->Arg(entries);
}

}  // namespace
}  // namespace quillon

int main(int argumentCount, char** arguments) {
  using quillon::Feed;
  benchmark::Initialize(&argumentCount, arguments);
  quillon::registerReader("XML", &quillon::readAll, &Feed::xml);
  quillon::registerReader("XMLSearched", &quillon::readAndSearch, &Feed::xml);
  quillon::registerReader("XMLValue", &quillon::readValue, &Feed::xml);
  quillon::registerReader("pugixmlDOM", &quillon::pugixmlDOM, &Feed::xml);
  quillon::registerReader("libplistXML", &quillon::libplistXML, &Feed::xml);
  quillon::registerReader("Binary", &quillon::readAll, &Feed::binary);
  quillon::registerReader("BinarySearched", &quillon::readAndSearch, &Feed::binary);
  quillon::registerReader("BinaryValue", &quillon::readValue, &Feed::binary);
  quillon::registerReader("libplistBinary", &quillon::libplistBinary, &Feed::binary);
  quillon::BestTimesReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  for (const int entries : quillon::kEntryCounts) {
    for (const char* ours : {"XML", "XMLSearched", "XMLValue"}) {
      quillon::printRatio(reporter, ours, "libplistXML", entries);
      quillon::printRatio(reporter, ours, "pugixmlDOM", entries);
    }
    for (const char* ours : {"Binary", "BinarySearched", "BinaryValue"}) {
      quillon::printRatio(reporter, ours, "libplistBinary", entries);
    }
    quillon::printMemory(entries);
  }
  return 0;
}
