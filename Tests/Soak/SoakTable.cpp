#include "Soak/SoakTable.h"

#include <cstddef>
#include <ostream>
#include <sstream>

namespace quillon::testing {

void SoakTable::writeRow(std::ostream& out, std::string_view name, const Row& row) const {
  out << "| " << name << " | " << row.attempts << " | " << row.tookEffect << " | " << row.updated << " | "
      << row.attempts - row.updated << " | " << row.missing << " | " << row.lost << " | " << row.unexplained << " | "
      << row.leakedFiles << " | " << row.leakedProcesses << " | "
      << (hasManager_ ? std::to_string(row.leakedUnits) : "no manager") << " |\n";
}

void SoakTable::add(const SoakResult& result) {
  Row& row = rows_.at(static_cast<std::size_t>(result.fault));
  ++row.attempts;
  row.tookEffect += result.tookEffect ? 1 : 0;
  row.updated += result.isUpdated ? 1 : 0;
  row.missing += result.wasMissing ? 1 : 0;
  row.lost += result.isLost ? 1 : 0;
  row.unexplained += result.isUnexplained ? 1 : 0;
  row.leakedFiles += result.leakedFiles;
  row.leakedProcesses += result.leakedProcesses;
  row.leakedUnits += result.leakedUnits;
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
    sum.leakedFiles += row.leakedFiles;
    sum.leakedProcesses += row.leakedProcesses;
    sum.leakedUnits += row.leakedUnits;
  }
  return sum;
}

bool SoakTable::isClean() const {
  const Row all = sum();
  return all.lost == 0 && all.unexplained == 0 && all.leakedFiles == 0 && all.leakedProcesses == 0 &&
         all.leakedUnits == 0;
}

std::string SoakTable::text() const {
  std::ostringstream out;
  out << "| Fault | Attempts | Took effect | Updated | Not updated | Missing until the next command | Lost bundles | "
         "Unexplained failures | Leaked files | Leaked processes | Leaked units |\n"
         "|---|--:|--:|--:|--:|--:|--:|--:|--:|--:|--:|\n";
  for (const SoakFault fault : kSoakFaults) {
    const Row& row = rows_.at(static_cast<std::size_t>(fault));
    if (row.attempts > 0) writeRow(out, soakFaultName(fault), row);
  }
  writeRow(out, "**all**", sum());
  return out.str();
}

}  // namespace quillon::testing
