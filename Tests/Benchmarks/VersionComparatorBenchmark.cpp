// Version ordering beside the orderings of package managers, on 100,000 pairs of mixed versions. Peers differ in what
// they call newer; measured is the time to answer.

#include <benchmark/benchmark.h>

#include <array>
#include <cstddef>
#include <cstdlib>
#include <iostream>
#include <random>
#include <string>
#include <utility>
#include <vector>

extern "C" {
#include <dpkg/dpkg-db.h>
#include <dpkg/dpkg.h>
#include <dpkg/error.h>
#include <dpkg/version.h>
#include <rpm/rpmver.h>
}
#ifdef QUILLON_HAVE_LIBVERSION
#include <libversion/version.h>
#endif

#include "QuillonCore/VeskVersionComparator.h"

namespace {

using Pairs = std::vector<std::pair<std::string, std::string>>;

std::string number(std::mt19937& random, unsigned limit) {
  return std::to_string(random() % limit);
}

std::string makeVersion(std::mt19937& random) {
  switch (random() % 6) {
    case 0:
      return number(random, 20) + "." + number(random, 30);
    case 1:
    case 2:
      return number(random, 20) + "." + number(random, 30) + "." + number(random, 50);
    case 3:
      return number(random, 20) + "." + number(random, 30) + (random() % 2 == 0 ? "b" : "rc") + number(random, 12);
    case 4:
      return "2021." + number(random, 12) + "." + number(random, 31) + "." + number(random, 5000);
    default:
      return number(random, 20) + "." + number(random, 30) + "." + number(random, 50) + "-" + number(random, 400);
  }
}

/// Every second pair is a step of the last number, as most update checks are.
Pairs makePairs() {
  std::mt19937 random(20210407);
  Pairs pairs;
  for (int i = 0; i < 100'000; ++i) {
    std::string first = makeVersion(random);
    std::string second = i % 2 == 0 ? first + number(random, 10) : makeVersion(random);
    pairs.emplace_back(std::move(first), std::move(second));
  }
  return pairs;
}

const Pairs& pairs() {
  static const Pairs kPairs = makePairs();
  return kPairs;
}

template <typename Compare>
void comparePairs(benchmark::State& state, Compare compare) {
  for (auto _ : state) {
    int sum = 0;
    for (const auto& [a, b] : pairs()) sum += compare(a, b);
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(pairs().size()));
}

int compareAsQuillon(const std::string& a, const std::string& b) {
  return static_cast<int>(quillon::VeskVersionComparator::compareVersion(a, b));
}

int compareAsRpm(const std::string& a, const std::string& b) {
  return rpmvercmp(a.c_str(), b.c_str());
}

int compareAsDpkg(const std::string& a, const std::string& b) {
  dpkg_version first{};
  dpkg_version second{};
  dpkg_error error{};
  if (parseversion(&first, a.c_str(), &error) < 0 || parseversion(&second, b.c_str(), &error) < 0) std::abort();
  return dpkg_version_compare(&first, &second);
}

#ifdef QUILLON_HAVE_LIBVERSION
int compareAsLibversion(const std::string& a, const std::string& b) {
  return version_compare2(a.c_str(), b.c_str());
}
#endif

/// Prints each peer's time as a multiple of this system's.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.aggregate_name != "median") continue;
      const double seconds = run.GetAdjustedCPUTime();
      if (ownTime_ == 0) ownTime_ = seconds;
      std::cout << "  ratio to Quillon: " << seconds / ownTime_ << '\n';
    }
  }

 private:
  double ownTime_ = 0;
};

}  // namespace

int main(int argumentCount, char** arguments) {
  push_error_context();
  const auto add = [](const char* name, auto compare) {
    benchmark::RegisterBenchmark(name, [compare](benchmark::State& state) { comparePairs(state, compare); })
        ->Unit(benchmark::kMillisecond)
        ->Repetitions(7)
        ->ReportAggregatesOnly(true);
  };
  add("Quillon", compareAsQuillon);
  add("rpm", compareAsRpm);
#ifdef QUILLON_HAVE_LIBVERSION
  add("libversion", compareAsLibversion);
#endif
  add("dpkg", compareAsDpkg);
  benchmark::Initialize(&argumentCount, arguments);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  pop_error_context(ehflag_normaltidy);
  return 0;
}
