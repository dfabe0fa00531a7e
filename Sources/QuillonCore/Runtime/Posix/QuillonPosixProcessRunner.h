#pragma once

#include "QuillonCore/Contracts/QuillonProcessRunning.h"
#include "QuillonCore/Runtime/Posix/QuillonProcessEnvironment.h"

namespace quillon {

/// Runs commands with posix_spawn(3).
///
/// The child starts with default signal dispositions, an empty signal mask, and no descriptor of this process. Output
/// is read while the child runs and what it had written when it ended; a background process that it leaves behind with
/// the output open is not waited for. Holds no mutable state and may be called from any thread.
class QuillonPosixProcessRunner final : public QuillonProcessRunning {
 public:
  explicit QuillonPosixProcessRunner(QuillonProcessEnvironment environment = environmentForOwnPrivileges()) noexcept
      : environment_(environment) {}

  [[nodiscard]] QuillonProcessResult run(const std::string& executablePath,
                                         const std::vector<std::string>& arguments) noexcept override;

 private:
  const QuillonProcessEnvironment environment_;
};

}  // namespace quillon
