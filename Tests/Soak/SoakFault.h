#pragma once

#include <array>
#include <cstdint>
#include <random>
#include <string_view>

namespace quillon::testing {

/// What goes wrong during one update.
enum class SoakFault : std::uint8_t {
  none,
  feedError,
  archiveError,
  truncatedArchive,
  damagedArchive,
  tamperedArchive,
  hostKilled,
  serviceKilled,
  installerKilled,
  fullApplicationVolume,
  fullWorkingVolume,
  readOnlyVolume,
};

inline constexpr std::array kSoakFaults = {SoakFault::none,
                                           SoakFault::feedError,
                                           SoakFault::archiveError,
                                           SoakFault::truncatedArchive,
                                           SoakFault::damagedArchive,
                                           SoakFault::tamperedArchive,
                                           SoakFault::hostKilled,
                                           SoakFault::serviceKilled,
                                           SoakFault::installerKilled,
                                           SoakFault::fullApplicationVolume,
                                           SoakFault::fullWorkingVolume,
                                           SoakFault::readOnlyVolume};

/// In words, for a table.
[[nodiscard]] std::string_view soakFaultName(SoakFault fault);

/// Whether the fault is made by mounting, which takes rights.
[[nodiscard]] bool soakFaultNeedsMounts(SoakFault fault);

/// None in two of five cases, else any, each as often.
[[nodiscard]] SoakFault drawSoakFault(std::mt19937& generator);

}  // namespace quillon::testing
