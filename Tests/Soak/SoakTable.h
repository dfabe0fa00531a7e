#pragma once

#include <array>
#include <iosfwd>
#include <string>
#include <string_view>

#include "Soak/SoakFault.h"

namespace quillon::testing {

/// What became of one attempt.
struct SoakResult {
  SoakFault fault = SoakFault::none;
  /// Whether the fault came about: what is to be killed may have ended before.
  bool tookEffect = true;
  bool isUpdated = false;
  /// Whether the application was missing from its place until the next command put it back.
  bool wasMissing = false;
  bool isLost = false;
  bool isUnexplained = false;
  /// Files and bundles that nobody needs any more.
  int leakedFiles = 0;
  /// Processes that did not end.
  int leakedProcesses = 0;
  /// Units of jobs that have ended, which the service manager has not forgotten.
  int leakedUnits = 0;

  [[nodiscard]] bool hasLeaked() const noexcept { return leakedFiles > 0 || leakedProcesses > 0 || leakedUnits > 0; }
};

/// Counts of attempts by fault.
class SoakTable {
 public:
  /// `hasManager` says whether a service manager runs: without one there are no units to count.
  explicit SoakTable(bool hasManager) : hasManager_(hasManager) {}

  void add(const SoakResult& result);

  /// Whether no bundle was lost, no failure unexplained and nothing leaked.
  [[nodiscard]] bool isClean() const;
  /// In Markdown.
  [[nodiscard]] std::string text() const;

 private:
  struct Row {
    int attempts = 0;
    int tookEffect = 0;
    int updated = 0;
    int missing = 0;
    int lost = 0;
    int unexplained = 0;
    int leakedFiles = 0;
    int leakedProcesses = 0;
    int leakedUnits = 0;
  };
  [[nodiscard]] Row sum() const;
  void writeRow(std::ostream& out, std::string_view name, const Row& row) const;

  const bool hasManager_;
  std::array<Row, kSoakFaults.size()> rows_{};
};

}  // namespace quillon::testing
