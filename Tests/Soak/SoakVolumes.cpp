#include "Soak/SoakVolumes.h"

#include <sys/mount.h>

#include <cerrno>
#include <fstream>
#include <string>
#include <system_error>

namespace quillon::testing {
namespace {

namespace fs = std::filesystem;

constexpr const char* kSize = "size=96m,mode=755";

const fs::path& made(const fs::path& folder) {
  fs::create_directories(folder);
  return folder;
}

void setReadOnly(const fs::path& volume, bool on) {
  unsigned long flags = MS_REMOUNT;
  if (on) flags |= MS_RDONLY;
  if (mount(nullptr, volume.c_str(), nullptr, flags, kSize) != 0) {
    throw std::system_error(errno, std::generic_category(), "cannot remount " + volume.string());
  }
}

}  // namespace

SoakVolumes::SoakVolumes(const fs::path& folder)
    : applicationsFolder_(folder / "Applications"),
      workFolder_(folder / "Work"),
      applications_(made(applicationsFolder_), kSize),
      work_(made(workFolder_), kSize) {}

void SoakVolumes::fill(const fs::path& volume, std::uintmax_t room) {
  filler_ = volume / "filler";
  const std::uintmax_t available = fs::space(volume).available;
  const std::string block(std::size_t{64} * 1024, 'x');
  std::ofstream file(*filler_, std::ios::binary);
  for (std::uintmax_t written = room; written < available && file.write(block.data(), block.size()).flush();) {
    written += block.size();
  }
}

void SoakVolumes::make(SoakFault fault, std::uintmax_t room) {
  if (fault == SoakFault::fullApplicationVolume) fill(applicationsFolder_, room);
  if (fault == SoakFault::fullWorkingVolume) fill(workFolder_, room);
  if (fault == SoakFault::readOnlyVolume) {
    setReadOnly(applicationsFolder_, true);
    isReadOnly_ = true;
  }
}

void SoakVolumes::heal() {
  if (isReadOnly_) {
    setReadOnly(applicationsFolder_, false);
    isReadOnly_ = false;
  }
  if (filler_) fs::remove(*filler_);
  filler_.reset();
}

}  // namespace quillon::testing
