#include "QuillonCore/Runtime/Linux/QuillonToolLocation.h"

#include <sys/stat.h>
#include <unistd.h>

#include <system_error>

namespace quillon {
namespace {

bool isExecutableFile(const std::filesystem::path& file) noexcept {
  struct stat status {};
  return stat(file.c_str(), &status) == 0 && S_ISREG(status.st_mode) && access(file.c_str(), X_OK) == 0;
}

/// Whether somebody else than root may write it. Root's own group, which a loose umask lets write, is root.
bool othersMayWrite(const struct stat& status) noexcept {
  return (status.st_mode & S_IWOTH) != 0 || ((status.st_mode & S_IWGRP) != 0 && status.st_gid != 0);
}

/// Whether only root can change what `path` names.
bool onlyRootCanChange(const std::filesystem::path& path) noexcept {
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0 || status.st_uid != 0) return false;
  // In a sticky folder such as /tmp others can make entries but not replace root's.
  const bool isSticky = S_ISDIR(status.st_mode) && (status.st_mode & S_ISVTX) != 0;
  return isSticky || !othersMayWrite(status);
}

bool isTrusted(const std::filesystem::path& file) {
  struct stat folder {};
  if (stat(file.parent_path().c_str(), &folder) != 0 || othersMayWrite(folder)) return false;
  std::error_code error;
  std::filesystem::path path = std::filesystem::canonical(file, error);
  if (error) return false;
  for (; path.has_relative_path(); path = path.parent_path()) {
    if (!onlyRootCanChange(path)) return false;
  }
  return onlyRootCanChange(path);
}

}  // namespace

QuillonToolLocation QuillonToolLocation::current() {
  std::error_code error;  // without /proc there is no program folder and the install folder is left
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
  return {.programFolder = program.parent_path(), .installFolder = QUILLON_TOOL_FOLDER, .isPrivileged = geteuid() == 0};
}

std::string QuillonToolLocation::path(std::string_view name) const {
  const std::filesystem::path besideProgram = programFolder / name;
  const bool isUsable = programFolder.is_absolute() && isExecutableFile(besideProgram);
  if (isUsable && (!isPrivileged || isTrusted(besideProgram))) return besideProgram.string();
  return (installFolder / name).string();
}

std::string toolPath(std::string_view name) {
  return QuillonToolLocation::current().path(name);
}

}  // namespace quillon
