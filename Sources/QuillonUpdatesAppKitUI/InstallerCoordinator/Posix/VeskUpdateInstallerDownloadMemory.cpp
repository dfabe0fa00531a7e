#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerDownloadMemory.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <stdexcept>

#include "QuillonCore/Runtime/Posix/WriteSignalShield.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/Posix/AtomicFilePlacement.h"

namespace quillon {
namespace {

/// Written between two looks at a stop request: a slow disk takes it in a fraction of a second.
constexpr std::size_t kWriteBytes = std::size_t{4} * 1024 * 1024;

template <typename Action>
void withinMemory(Action action) {
  try {
    action();
  } catch (const std::bad_alloc&) {
    throw QuillonSystemError::posix(ENOMEM, "keep in memory", "the download");
  } catch (const std::length_error&) {
    throw QuillonSystemError::posix(ENOMEM, "keep in memory", "the download");
  }
}

}  // namespace

VeskUpdateInstallerDownloadMemory::VeskUpdateInstallerDownloadMemory(std::uint64_t maximumBytes)
    : maximumBytes_(maximumBytes) {}

void VeskUpdateInstallerDownloadMemory::reserve(std::uint64_t bytes) {
  requireRoom(bytes);
  withinMemory([&] { bytes_.reserve(static_cast<std::size_t>(bytes)); });
}

void VeskUpdateInstallerDownloadMemory::append(std::string_view bytes, const std::stop_token& /*stopToken*/) {
  requireRoom(bytes_.size() + bytes.size());
  withinMemory([&] { bytes_.append(bytes); });
}

void VeskUpdateInstallerDownloadMemory::writeAtomically(const QuillonFileManaging&, const QuillonURL& file,
                                                        const std::stop_token& stopToken) {
  AtomicFilePlacement placement(file);
  const FileDescriptor target = placement.create();
  const WriteSignalShield shield;
  for (std::string_view rest = bytes_; !rest.empty();) {
    if (stopToken.stop_requested()) throw QuillonCancellationError();
    const ssize_t count = write(target.get(), rest.data(), std::min(rest.size(), kWriteBytes));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) {
      const int code = errno;
      throw QuillonSystemError::posix(code, "write", file.path());
    }
    rest.remove_prefix(static_cast<std::size_t>(count));
  }
  placement.finish();
}

void VeskUpdateInstallerDownloadMemory::requireRoom(std::uint64_t bytes) const {
  if (bytes > maximumBytes_) throw QuillonSystemError::posix(EFBIG, "keep in memory", "the download");
}

}  // namespace quillon
