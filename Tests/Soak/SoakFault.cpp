#include "Soak/SoakFault.h"

namespace quillon::testing {

std::string_view soakFaultName(SoakFault fault) {
  switch (fault) {
    case SoakFault::none:
      return "none";
    case SoakFault::feedError:
      return "server error for the feed";
    case SoakFault::archiveError:
      return "server error for the archive";
    case SoakFault::truncatedArchive:
      return "download cut short";
    case SoakFault::damagedArchive:
      return "damaged archive";
    case SoakFault::tamperedArchive:
      return "tampered application";
    case SoakFault::hostKilled:
      return "host killed";
    case SoakFault::serviceKilled:
      return "launcher service killed";
    case SoakFault::installerKilled:
      return "installer killed";
    case SoakFault::fullApplicationVolume:
      return "application's volume full";
    case SoakFault::fullWorkingVolume:
      return "working volume full";
    case SoakFault::readOnlyVolume:
      return "application's volume read-only";
  }
  return "unknown";
}

bool soakFaultNeedsMounts(SoakFault fault) {
  return fault == SoakFault::fullApplicationVolume || fault == SoakFault::fullWorkingVolume ||
         fault == SoakFault::readOnlyVolume;
}

SoakFault drawSoakFault(std::mt19937& generator) {
  if (std::bernoulli_distribution(0.4)(generator)) return SoakFault::none;
  return kSoakFaults.at(std::uniform_int_distribution<std::size_t>(1, kSoakFaults.size() - 1)(generator));
}

}  // namespace quillon::testing
