#pragma once

#include <spawn.h>
#include <sys/types.h>

#include "QuillonCore/Runtime/Posix/FileDescriptor.h"

// What the systems do differently around a child process; each is defined once in each platform's folder.

namespace quillon {

/// Both ends of a pipe.
struct QuillonPipe {
  FileDescriptor readEnd;
  FileDescriptor writeEnd;
};

/// A pipe that no other program inherits, at whatever moment another thread starts one. Without ends on failure.
[[nodiscard]] QuillonPipe makePipe() noexcept;

/// Makes the child start without any descriptor of this process but those that `actions` set up as 0, 1 and 2. Called
/// when all other actions are in place. 0, or the errno value.
[[nodiscard]] int closeOtherDescriptors(posix_spawn_file_actions_t& actions, posix_spawnattr_t& attributes) noexcept;

/// A descriptor that poll(2) finds readable once the child `process` has ended. None where the system has no such
/// thing.
[[nodiscard]] FileDescriptor descriptorOfProcessEnd(pid_t process) noexcept;

}  // namespace quillon
