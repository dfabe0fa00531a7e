#include <fcntl.h>
#include <sys/event.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "QuillonCore/Runtime/Posix/QuillonChildProcessPlatform.h"

namespace quillon {
namespace {

struct kevent change(std::uintptr_t identifier, std::int16_t filter, std::uint32_t condition) noexcept {
  struct kevent change {};
  EV_SET(&change, identifier, filter, EV_ADD, condition, 0, nullptr);
  return change;
}

bool add(const FileDescriptor& queue, const struct kevent& change) noexcept {
  return kevent(queue.get(), &change, 1, nullptr, 0, nullptr) == 0;
}

}  // namespace

QuillonPipe makePipe() noexcept {
  std::array<int, 2> ends{};
  if (pipe(ends.data()) != 0) return {};
  QuillonPipe made{.readEnd = FileDescriptor(ends[0]), .writeEnd = FileDescriptor(ends[1])};
  // A program that another thread starts right here does not get them either if it is started with the setting below,
  // as every program of this system is.
  for (const int end : ends) {
    if (fcntl(end, F_SETFD, FD_CLOEXEC) != 0) return {};
  }
  return made;
}

int closeOtherDescriptors(posix_spawn_file_actions_t& /*actions*/, posix_spawnattr_t& attributes) noexcept {
  short flags = 0;
  if (const int code = posix_spawnattr_getflags(&attributes, &flags); code != 0) return code;
  return posix_spawnattr_setflags(&attributes, static_cast<short>(flags | POSIX_SPAWN_CLOEXEC_DEFAULT));
}

FileDescriptor descriptorOfProcessEnd(pid_t process) noexcept {
  FileDescriptor queue(kqueue());
  if (!queue) return {};
  if (add(queue, change(static_cast<std::uintptr_t>(process), EVFILT_PROC, NOTE_EXIT))) return queue;
  // One that has ended already, and waits to be waited for, is not found: the queue says so by an event of its own.
  if (errno == ESRCH && add(queue, change(0, EVFILT_USER, NOTE_TRIGGER))) return queue;
  return {};
}

}  // namespace quillon
