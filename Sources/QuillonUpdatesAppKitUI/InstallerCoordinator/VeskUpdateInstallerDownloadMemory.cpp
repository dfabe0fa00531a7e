#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerDownloadMemory.h"

#include <cerrno>
#include <new>
#include <stdexcept>

#include "QuillonCore/Values/QuillonError.h"

namespace quillon {
namespace {

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

void VeskUpdateInstallerDownloadMemory::append(std::string_view bytes) {
  requireRoom(bytes_.size() + bytes.size());
  withinMemory([&] { bytes_.append(bytes); });
}

void VeskUpdateInstallerDownloadMemory::writeAtomically(const QuillonFileManaging& fileManager,
                                                        const QuillonURL& file) {
  fileManager.writeFileAtomically(file, bytes_);
}

void VeskUpdateInstallerDownloadMemory::requireRoom(std::uint64_t bytes) const {
  if (bytes > maximumBytes_) throw QuillonSystemError::posix(EFBIG, "keep in memory", "the download");
}

}  // namespace quillon
