#include "Support/ScopedMount.h"

#include <sys/stat.h>
#include <unistd.h>

#include <utility>

namespace quillon::testing {

// Volumes cannot be mounted without help here: tests that need one are skipped.

ScopedMount::ScopedMount(std::filesystem::path mountPoint, const std::string& /*options*/)
    : mountPoint_(std::move(mountPoint)), isMounted_(false) {}

ScopedMount::ScopedMount(std::filesystem::path mountPoint, const std::filesystem::path& /*source*/, Bind)
    : mountPoint_(std::move(mountPoint)), isMounted_(false) {}

ScopedMount::~ScopedMount() = default;

ScopedImmutable::ScopedImmutable(std::filesystem::path item)
    : item_(std::move(item)), isImmutable_(lchflags(item_.c_str(), UF_IMMUTABLE) == 0) {}

ScopedImmutable::~ScopedImmutable() {
  if (isImmutable_) clearImmutable(item_);
}

void clearImmutable(const std::filesystem::path& item) {
  (void)lchflags(item.c_str(), 0);
}

}  // namespace quillon::testing
