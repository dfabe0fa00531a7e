#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace quillon {

/// Prints as usual and keeps each benchmark's shortest time, for a summary.
class BestTimesReporter : public benchmark::ConsoleReporter {
 public:
  BestTimesReporter() : ConsoleReporter(OO_Tabular) {}

  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      const double time = run.GetAdjustedCPUTime();
      const auto [found, isNew] = times_.try_emplace(run.benchmark_name(), time);
      if (!isNew && time < found->second) found->second = time;
    }
  }

  /// Processor time of one iteration of `name`, in its unit; absent when it has not run.
  [[nodiscard]] std::optional<double> time(const std::string& name) const {
    const auto found = times_.find(name);
    if (found == times_.end()) return std::nullopt;
    return found->second;
  }

 private:
  std::map<std::string, double> times_;
};

}  // namespace quillon
