#pragma once

#include <filesystem>
#include <string>

namespace quillon::testing {

/// A volume mounted for one test, where the process may mount; false otherwise.
class ScopedMount {
 public:
  struct Bind {};

  /// A memory volume with the mount options given.
  ScopedMount(std::filesystem::path mountPoint, const std::string& options);
  /// `source` seen a second time at `mountPoint`.
  ScopedMount(std::filesystem::path mountPoint, const std::filesystem::path& source, Bind);
  ~ScopedMount();
  ScopedMount(const ScopedMount&) = delete;
  ScopedMount& operator=(const ScopedMount&) = delete;

  [[nodiscard]] explicit operator bool() const noexcept { return isMounted_; }

 private:
  std::filesystem::path mountPoint_;
  bool isMounted_;
};

/// Makes an item immutable (chattr +i) while it lives, where the volume and the process allow it; false otherwise.
class ScopedImmutable {
 public:
  explicit ScopedImmutable(std::filesystem::path item);
  ~ScopedImmutable();
  ScopedImmutable(const ScopedImmutable&) = delete;
  ScopedImmutable& operator=(const ScopedImmutable&) = delete;

  [[nodiscard]] explicit operator bool() const noexcept { return isImmutable_; }

 private:
  std::filesystem::path item_;
  bool isImmutable_;
};

/// Takes the immutable mark off an item that was moved meanwhile.
void clearImmutable(const std::filesystem::path& item);

}  // namespace quillon::testing
