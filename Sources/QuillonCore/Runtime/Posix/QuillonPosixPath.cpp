#include "QuillonCore/Runtime/Posix/QuillonPosixPath.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <deque>

#include "QuillonCore/Runtime/Posix/QuillonPosixPlatform.h"
#include "QuillonCore/Values/QuillonError.h"

namespace quillon {
namespace {

constexpr int kOpenFolder = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
constexpr int kMaximumLinks = 40;  // as the kernel's own limit

void splitFront(std::deque<std::string>& components, std::string_view path) {
  std::deque<std::string> parts;
  for (std::size_t position = 0; position < path.size();) {
    const std::size_t slash = std::min(path.find('/', position), path.size());
    if (slash > position) parts.emplace_back(path.substr(position, slash - position));
    position = slash + 1;
  }
  components.insert(components.begin(), parts.begin(), parts.end());
}

/// Root made the link, and nobody else can put another in its place.
bool linkIsTrusted(const struct stat& link, int folder) {
  struct stat around {};
  if (link.st_uid != 0 || fstat(folder, &around) != 0 || around.st_uid != 0) return false;
  return (around.st_mode & (S_IWGRP | S_IWOTH)) == 0 || (around.st_mode & S_ISVTX) != 0;
}

std::string linkTarget(int folder, const std::string& name, std::string_view action, std::string_view path) {
  std::array<char, PATH_MAX> target{};
  const ssize_t length = readlinkat(folder, name.c_str(), target.data(), target.size());
  if (length < 0) throw QuillonSystemError::posix(errno, action, path);
  return {target.data(), static_cast<std::size_t>(length)};
}

class CarefulWalk {
 public:
  CarefulWalk(std::string_view path, std::string_view action) : path_(path), action_(action) {}

  FileDescriptor walk() {
    if (const auto held = openDirectoryInPath(path_)) {
      current_ = FileDescriptor(openat(held->descriptor, ".", kOpenFolder));
      if (!current_) fail(errno);
      splitFront(components_, held->rest);
    } else {
      current_ = openRoot();
      splitFront(components_, path_);
    }
    while (!components_.empty()) {
      const std::string name = std::move(components_.front());
      components_.pop_front();
      step(name);
    }
    return std::move(current_);
  }

 private:
  [[noreturn]] void fail(int code) const { throw QuillonSystemError::posix(code, action_, path_); }

  FileDescriptor openRoot() const {
    FileDescriptor root(open("/", kOpenFolder));
    if (!root) fail(errno);
    return root;
  }

  void enter(const std::string& name) {
    FileDescriptor next(openat(current_.get(), name.c_str(), kOpenFolder | O_NOFOLLOW));
    if (!next) fail(errno);
    current_ = std::move(next);
  }

  void step(const std::string& name) {
    struct stat status {};
    if (fstatat(current_.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) fail(errno);
    if (!S_ISLNK(status.st_mode)) return enter(name);
    if (!linkIsTrusted(status, current_.get()) || ++links_ > kMaximumLinks) fail(ELOOP);
    const std::string target = linkTarget(current_.get(), name, action_, path_);
    if (target.starts_with('/')) current_ = openRoot();
    splitFront(components_, target);
  }

  std::string_view path_;
  std::string_view action_;
  std::deque<std::string> components_;
  FileDescriptor current_;
  int links_ = 0;
};

}  // namespace

FileDescriptor openDirectory(std::string_view path, std::string_view action) {
  if (path.size() >= PATH_MAX) throw QuillonSystemError::posix(ENAMETOOLONG, action, path.substr(0, 200));
  if (geteuid() == 0) return CarefulWalk(path, action).walk();
  FileDescriptor folder(open(std::string(path).c_str(), kOpenFolder));
  if (!folder) throw QuillonSystemError::posix(errno, action, path);
  return folder;
}

QuillonPosixPlace openPlace(const QuillonURL& item, std::string_view action) {
  const std::string_view name = item.lastPathComponent();
  if (name.empty() || name == "..") throw QuillonSystemError::posix(EINVAL, action, item.path());
  return {openDirectory(item.deletingLastPathComponent().path(), action), std::string(name)};
}

}  // namespace quillon
