#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

namespace quillon::testing {

/// The units that a user's service manager has loaded for the sample application. The user has to be this process's.
class SoakUnits {
 public:
  explicit SoakUnits(uid_t user);

  /// Whether the user has a service manager. An installer is no unit where there is none.
  [[nodiscard]] bool areManaged() const noexcept { return isManaged_; }
  /// Their names, in any state; none without a manager. Throws std::runtime_error when the manager does not say.
  [[nodiscard]] std::vector<std::string> loaded() const;

 private:
  const std::filesystem::path runtimeFolder_;
  const bool isManaged_;
};

}  // namespace quillon::testing
