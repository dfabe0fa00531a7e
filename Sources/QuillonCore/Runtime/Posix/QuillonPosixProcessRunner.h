#pragma once

#include <chrono>
#include <optional>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

#include "QuillonCore/Contracts/QuillonMonotonicTime.h"
#include "QuillonCore/Contracts/QuillonProcessRunning.h"
#include "QuillonCore/Runtime/Posix/QuillonProcessEnvironment.h"
#include "QuillonCore/Runtime/QuillonSystemMonotonicTime.h"

namespace quillon {

/// Runs commands with posix_spawn(3).
///
/// The child starts with default signal dispositions, an empty signal mask, and no descriptor of this process. Output
/// is read while the child runs and what it had written when it ended; a background process that it leaves behind with
/// the output open is not waited for.
///
/// With a time limit, or a stop token that can be stopped, the child leads a process group of its own. When the limit
/// is over and the child is not, the whole group is killed; the status is then that of SIGKILL, and a line at the end
/// of the output says why. After a stop request the group is asked to end, and killed when it has not within
/// `timeToCleanUp`.
///
/// Holds no mutable state and may be called from any thread.
class QuillonPosixProcessRunner final : public QuillonProcessRunning {
 public:
  explicit QuillonPosixProcessRunner(
      QuillonProcessEnvironment environment = environmentForOwnPrivileges(),
      std::optional<std::chrono::nanoseconds> timeLimit = std::nullopt,
      QuillonMonotonicTimeProvider monotonicTimeProvider = makeSystemMonotonicTimeProvider(),
      std::chrono::nanoseconds timeToCleanUp = kDefaultTimeToCleanUp)
      : environment_(environment),
        timeLimit_(timeLimit),
        monotonicTimeProvider_(std::move(monotonicTimeProvider)),
        timeToCleanUp_(timeToCleanUp) {}

  [[nodiscard]] QuillonProcessResult run(const std::string& executablePath, const std::vector<std::string>& arguments,
                                         std::stop_token stopToken = {}) noexcept override;

 private:
  const QuillonProcessEnvironment environment_;
  const std::optional<std::chrono::nanoseconds> timeLimit_;
  const QuillonMonotonicTimeProvider monotonicTimeProvider_;
  const std::chrono::nanoseconds timeToCleanUp_;
};

}  // namespace quillon
