#include "Soak/SoakProcesses.h"

#include <unistd.h>

#include <charconv>
#include <fstream>
#include <ios>
#include <iterator>
#include <system_error>

namespace quillon::testing {
namespace {

namespace fs = std::filesystem;

/// Empty for a process that has ended.
std::string commandLine(const fs::path& process) {
  try {
    std::ifstream file(process / "cmdline", std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  } catch (const std::ios_base::failure&) {  // it ended while it was read
    return {};
  }
}

}  // namespace

std::vector<SoakProcess> processesAbout(const fs::path& folder) {
  std::vector<SoakProcess> found;
  std::error_code ended;
  for (fs::directory_iterator entry("/proc", ended), end; entry != end; entry.increment(ended)) {
    const std::string name = entry->path().filename().string();
    pid_t identifier = 0;
    const auto [rest, error] = std::from_chars(name.data(), name.data() + name.size(), identifier);
    if (error != std::errc() || *rest != '\0' || identifier == getpid()) continue;
    const std::string words = commandLine(entry->path());
    if (words.find(folder.string()) == std::string::npos) continue;
    const std::string program = words.substr(0, words.find('\0'));
    found.push_back({.identifier = identifier, .program = fs::path(program).filename().string()});
  }
  return found;
}

}  // namespace quillon::testing
