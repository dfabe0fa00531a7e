#pragma once

#include <array>
#include <string>

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
  /// Files that nobody needs any more, and processes that did not end.
  int leaks = 0;
};

/// Counts of attempts by fault.
class SoakTable {
 public:
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
    int leaks = 0;
  };
  [[nodiscard]] Row sum() const;

  std::array<Row, kSoakFaults.size()> rows_{};
};

}  // namespace quillon::testing
