#include "Support/ControlGroup.h"

#include <fcntl.h>
#include <unistd.h>

#include <fstream>
#include <string_view>
#include <system_error>

namespace quillon::testing {
namespace {

namespace fs = std::filesystem;

/// The folder of the hierarchy that a line of /proc/self/cgroup is about, "0::PATH" or "NUMBER:CONTROLLERS:PATH";
/// empty for the hierarchies of single controllers.
fs::path folderOfLine(const std::string& line) {
  const std::size_t controllers = line.find(':') + 1;
  const std::size_t path = line.find(':', controllers) + 1;
  const std::string_view name = std::string_view(line).substr(controllers, path - controllers - 1);
  fs::path hierarchy;
  if (name.empty()) {
    hierarchy = fs::exists("/sys/fs/cgroup/unified") ? "/sys/fs/cgroup/unified" : "/sys/fs/cgroup";
  } else if (name == "name=systemd") {
    hierarchy = "/sys/fs/cgroup/systemd";
  } else {
    return {};
  }
  return hierarchy / fs::path(line.substr(path)).relative_path();
}

/// Groups are folders whose files go with them; only a group without groups can be removed.
void removeGroups(const fs::path& folder) noexcept {
  std::error_code ignored;
  for (fs::directory_iterator entry(folder, ignored), end; entry != end; entry.increment(ignored)) {
    if (entry->is_directory(ignored)) removeGroups(entry->path());
  }
  rmdir(folder.c_str());
}

}  // namespace

ControlGroup::ControlGroup(const std::string& name) {
  std::ifstream own("/proc/self/cgroup");
  for (std::string line; std::getline(own, line);) {
    const fs::path parent = folderOfLine(line);
    std::error_code error;
    if (parent.empty() || !fs::create_directory(parent / name, error)) continue;
    folders_.push_back(parent / name);
    memberLists_.push_back(parent / name / "cgroup.procs");
  }
}

ControlGroup::~ControlGroup() {
  for (const fs::path& folder : folders_) removeGroups(folder);
}

void ControlGroup::enter() const noexcept {
  for (const std::string& list : memberLists_) {
    const int members = open(list.c_str(), O_WRONLY | O_CLOEXEC);
    if (members < 0) continue;
    [[maybe_unused]] const ssize_t written = write(members, "0", 1);  // "0" is the writing process
    close(members);
  }
}

}  // namespace quillon::testing
