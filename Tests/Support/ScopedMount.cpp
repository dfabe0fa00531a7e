#include "Support/ScopedMount.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <unistd.h>

#include <utility>

namespace quillon::testing {
namespace {

bool setImmutable(const std::filesystem::path& item, bool on) {
  const int descriptor = open(item.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0) return false;
  unsigned int flags = 0;
  bool done = ioctl(descriptor, FS_IOC_GETFLAGS, &flags) == 0;
  flags = on ? flags | FS_IMMUTABLE_FL : flags & ~static_cast<unsigned int>(FS_IMMUTABLE_FL);
  done = done && ioctl(descriptor, FS_IOC_SETFLAGS, &flags) == 0;
  close(descriptor);
  return done;
}

}  // namespace

ScopedMount::ScopedMount(std::filesystem::path mountPoint, const std::string& options)
    : mountPoint_(std::move(mountPoint)),
      isMounted_(mount("quillon-test", mountPoint_.c_str(), "tmpfs", 0, options.c_str()) == 0) {}

ScopedMount::ScopedMount(std::filesystem::path mountPoint, const std::filesystem::path& source, Bind)
    : mountPoint_(std::move(mountPoint)),
      isMounted_(mount(source.c_str(), mountPoint_.c_str(), nullptr, MS_BIND, nullptr) == 0) {}

ScopedMount::~ScopedMount() {
  if (isMounted_) umount2(mountPoint_.c_str(), MNT_DETACH);
}

ScopedImmutable::ScopedImmutable(std::filesystem::path item)
    : item_(std::move(item)), isImmutable_(setImmutable(item_, true)) {}

ScopedImmutable::~ScopedImmutable() {
  if (isImmutable_) clearImmutable(item_);
}

void clearImmutable(const std::filesystem::path& item) {
  (void)setImmutable(item, false);
}

}  // namespace quillon::testing
