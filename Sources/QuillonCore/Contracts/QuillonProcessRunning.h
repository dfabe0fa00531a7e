#pragma once

#include <chrono>
#include <cstdint>
#include <stop_token>
#include <string>
#include <vector>

namespace quillon {

/// What became of a child process.
struct QuillonProcessResult {
  /// Exit status; for a child that a signal ended, 128 plus the signal's number, as shells report it.
  std::int32_t status = 1;
  /// Standard output and standard error in the order they were written; empty when it was not valid UTF-8.
  std::string output;

  friend bool operator==(const QuillonProcessResult&, const QuillonProcessResult&) = default;
};

/// What a stopped command may take to remove what it has begun, unless its runner was made to give it longer.
inline constexpr std::chrono::milliseconds kDefaultTimeToCleanUp{500};

/// Runs a command as a child process.
class QuillonProcessRunning {
 public:
  virtual ~QuillonProcessRunning() = default;

  /// Starts `executablePath` (absolute; nothing is searched) with `arguments`, reads its joined output while it runs,
  /// and waits for its end. Standard input is empty. A child that cannot be started gives status 1 and no output. Keeps
  /// the first 16 MiB of output and drops the rest. A stop request ends the child and the processes that it started:
  /// they are asked to (SIGTERM), so that they can remove what they have begun, and what is left of them after the time
  /// that the runner gives them is killed. The status is then that of the signal, unless the child says otherwise. A
  /// child that was to be started afterwards is not started, which gives the status of SIGKILL.
  [[nodiscard]] virtual QuillonProcessResult run(const std::string& executablePath,
                                                 const std::vector<std::string>& arguments,
                                                 std::stop_token stopToken = {}) noexcept = 0;
};

}  // namespace quillon
