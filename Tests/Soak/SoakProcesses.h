#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

namespace quillon::testing {

/// A process of the update, whoever started it.
struct SoakProcess {
  pid_t identifier = 0;
  /// The file name of the program that it was started as.
  std::string program;
};

/// The processes whose command line names something in `folder`, this process left out.
[[nodiscard]] std::vector<SoakProcess> processesAbout(const std::filesystem::path& folder);

}  // namespace quillon::testing
