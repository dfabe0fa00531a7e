#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <functional>

namespace quillon::testing {

/// Whether `check` holds in a child process that file permissions count for. In a privileged process that child runs as
/// the user without rights, "nobody" of Debian.
inline bool holdsForOrdinaryUser(const std::function<bool()>& check) {
  constexpr uid_t kNobody = 65534;
  const pid_t child = fork();
  if (child == 0) {
    bool holds = geteuid() != 0 || setuid(kNobody) == 0;
    try {
      holds = holds && check();
    } catch (...) {
      holds = false;
    }
    _exit(holds ? 0 : 1);
  }
  int status = 1;
  return child > 0 && waitpid(child, &status, 0) == child && status == 0;
}

}  // namespace quillon::testing
