#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>

#include "QuillonCore/Runtime/Posix/QuillonChildProcessPlatform.h"

namespace quillon {

QuillonPipe makePipe() noexcept {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) return {};
  return {.readEnd = FileDescriptor(ends[0]), .writeEnd = FileDescriptor(ends[1])};
}

int closeOtherDescriptors(posix_spawn_file_actions_t& actions, posix_spawnattr_t& /*attributes*/) noexcept {
  return posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
}

FileDescriptor descriptorOfProcessEnd(pid_t process) noexcept {
  // glibc has a wrapper only since 2.36, and its header is not fit for C++ in every version of it.
  return FileDescriptor(static_cast<int>(syscall(SYS_pidfd_open, process, 0)));
}

}  // namespace quillon
