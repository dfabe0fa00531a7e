#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace quillon::testing {

/// A control group for a tree of processes, below the one of this process, in the hierarchies that systemd uses.
///
/// Two containers that share one would each take the other's processes for their own. Where no group can be made, the
/// processes stay in that of this process.
class ControlGroup {
 public:
  explicit ControlGroup(const std::string& name);
  /// Removes the group with the empty groups in it; its processes must have ended.
  ~ControlGroup();
  ControlGroup(const ControlGroup&) = delete;
  ControlGroup& operator=(const ControlGroup&) = delete;

  /// Moves the calling process into the group. May be called between fork(2) and exec(3).
  void enter() const noexcept;

 private:
  std::vector<std::filesystem::path> folders_;
  std::vector<std::string> memberLists_;
};

}  // namespace quillon::testing
