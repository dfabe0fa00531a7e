#pragma once

#include <string>

#include "QuillonTool/Update/ApplicationProcesses.h"

namespace quillon {

/// Finds processes in proc(5): by the link "exe", which names the program of this user's processes and says so when the
/// file is gone, and installers by their command line and their real user, which everybody's processes show.
///
/// A script has its interpreter as program, and is not found.
class ProcApplicationProcesses final : public ApplicationProcessFinding {
 public:
  explicit ProcApplicationProcesses(std::string folder = "/proc");

  [[nodiscard]] std::vector<ApplicationProcess> processesOf(const QuillonURL& bundle) const override;

 private:
  const std::string folder_;
};

}  // namespace quillon
