#include "Soak/SoakTable.h"

#include <cstddef>
#include <sstream>
#include <string_view>

namespace quillon::testing {
namespace {

template <typename Row>
void writeRow(std::ostream& out, std::string_view name, const Row& row) {
  out << "| " << name << " | " << row.attempts << " | " << row.tookEffect << " | " << row.updated << " | "
      << row.attempts - row.updated << " | " << row.missing << " | " << row.lost << " | " << row.unexplained << " | "
      << row.leaks << " |\n";
}

}  // namespace

void SoakTable::add(const SoakResult& result) {
  Row& row = rows_.at(static_cast<std::size_t>(result.fault));
  ++row.attempts;
  row.tookEffect += result.tookEffect ? 1 : 0;
  row.updated += result.isUpdated ? 1 : 0;
  row.missing += result.wasMissing ? 1 : 0;
  row.lost += result.isLost ? 1 : 0;
  row.unexplained += result.isUnexplained ? 1 : 0;
  row.leaks += result.leaks;
}

SoakTable::Row SoakTable::sum() const {
  Row sum;
  for (const Row& row : rows_) {
    sum.attempts += row.attempts;
    sum.tookEffect += row.tookEffect;
    sum.updated += row.updated;
    sum.missing += row.missing;
    sum.lost += row.lost;
    sum.unexplained += row.unexplained;
    sum.leaks += row.leaks;
  }
  return sum;
}

bool SoakTable::isClean() const {
  const Row all = sum();
  return all.lost == 0 && all.unexplained == 0 && all.leaks == 0;
}

std::string SoakTable::text() const {
  std::ostringstream out;
  out << "| Fault | Attempts | Took effect | Updated | Not updated | Missing until the next command | Lost bundles | "
         "Unexplained failures | Leaks |\n|---|--:|--:|--:|--:|--:|--:|--:|--:|\n";
  for (const SoakFault fault : kSoakFaults) {
    const Row& row = rows_.at(static_cast<std::size_t>(fault));
    if (row.attempts > 0) writeRow(out, soakFaultName(fault), row);
  }
  writeRow(out, "**all**", sum());
  return out.str();
}

}  // namespace quillon::testing
