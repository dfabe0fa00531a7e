#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace quillon::testing {

/// A folder of its own for one test, removed with everything in it at the end.
class TemporaryDirectory {
 public:
  TemporaryDirectory();
  ~TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  [[nodiscard]] const std::filesystem::path& path() const noexcept { return path_; }
  [[nodiscard]] std::filesystem::path operator/(std::string_view name) const { return path_ / name; }

 private:
  std::filesystem::path path_;
};

/// Writes `content` to `file`, creating missing folders.
void writeFile(const std::filesystem::path& file, std::string_view content);
/// The content of `file`; fails the test when it cannot be read.
[[nodiscard]] std::string readFile(const std::filesystem::path& file);

}  // namespace quillon::testing
