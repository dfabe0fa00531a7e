#pragma once

#include <filesystem>
#include <string>

#include "Support/TemporaryDirectory.h"

namespace quillon::testing {

/// A named pipe by which a detached process tells a test what it saw.
class ReportFifo {
 public:
  explicit ReportFifo(std::filesystem::path path);

  [[nodiscard]] const std::filesystem::path& path() const noexcept { return path_; }

  /// What the next writer writes until it closes the pipe. Waits for a writer.
  [[nodiscard]] std::string read() const { return readFile(path_); }

 private:
  std::filesystem::path path_;
};

/// Writes an executable shell script.
void writeScript(const std::filesystem::path& file, const std::string& body);

/// An application bundle whose executable "Example" is a shell script. Returns its location.
std::filesystem::path writeApplication(const std::filesystem::path& bundle, const std::string& script);

}  // namespace quillon::testing
