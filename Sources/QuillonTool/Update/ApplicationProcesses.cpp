#include "QuillonTool/Update/ApplicationProcesses.h"

namespace quillon {

std::string describe(const std::vector<ApplicationProcess>& processes) {
  std::string text;
  for (const ApplicationProcess& process : processes) {
    text.append(text.empty() ? "" : ", ").append(std::to_string(process.identifier));
    text.append(" (").append(process.name).append(")");
  }
  return text;
}

}  // namespace quillon
