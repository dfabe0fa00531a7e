#pragma once

#include <chrono>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "Soak/SoakFault.h"

namespace quillon::testing {

/// A process that is to be killed, and when.
struct SoakKill {
  /// The file name of its program.
  std::string program;
  /// After it was seen first.
  std::chrono::microseconds delay{0};
};

/// How one run of `quillon update` ended.
struct SoakAttemptOutcome {
  /// Exit status, or 128 and the number of the signal that ended it.
  int status = 0;
  /// What it wrote, on either stream.
  std::string output;
  /// Whether what was to be killed was still there to be killed.
  bool hasKilled = false;
  /// Whether every process of the update ended within a minute.
  bool hasSettled = false;
  /// How long each program was seen to run, by its file name.
  std::map<std::string, std::chrono::microseconds> lifetimes{};
};

/// Runs a command that updates an application in `folder`, kills what is to be killed, and waits until nothing of the
/// update runs any more but the application itself. The user's folders are in `folder`, for everybody but root, whose
/// environment does not move them.
[[nodiscard]] SoakAttemptOutcome runSoakAttempt(const std::filesystem::path& folder,
                                                const std::vector<std::string>& command,
                                                const std::optional<SoakKill>& kill = std::nullopt);

}  // namespace quillon::testing
