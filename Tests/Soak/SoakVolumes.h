#pragma once

#include <filesystem>
#include <optional>

#include "Soak/SoakFault.h"
#include "Support/ScopedMount.h"

namespace quillon::testing {

/// The volumes of the installed application and of the host's working folders, which become full or read-only.
class SoakVolumes {
 public:
  /// Mounts memory volumes at `folder`/Applications and `folder`/Work, where the process may.
  explicit SoakVolumes(const std::filesystem::path& folder);

  [[nodiscard]] bool areMounted() const { return applications_ && work_; }

  /// Brings the fault about, if it is one of volumes. `room` are the bytes that a full volume has left.
  void make(SoakFault fault, std::uintmax_t room);
  /// Undoes every fault.
  void heal();

 private:
  void fill(const std::filesystem::path& volume, std::uintmax_t room);

  const std::filesystem::path applicationsFolder_;
  const std::filesystem::path workFolder_;
  ScopedMount applications_;
  ScopedMount work_;
  std::optional<std::filesystem::path> filler_;
  bool isReadOnly_ = false;
};

}  // namespace quillon::testing
