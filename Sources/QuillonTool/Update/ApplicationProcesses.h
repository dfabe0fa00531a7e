#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

/// A process that has to end before a bundle can be replaced.
struct ApplicationProcess {
  std::int32_t identifier = 0;
  /// Its program's file name.
  std::string name;
  /// Whether it is an installer that works on the bundle.
  bool isInstaller = false;

  friend bool operator==(const ApplicationProcess&, const ApplicationProcess&) = default;
};

/// Finds the processes of an application.
///
/// Implementations hold no mutable state and may be called from any thread.
class ApplicationProcessFinding {
 public:
  virtual ~ApplicationProcessFinding() = default;

  /// The processes, other than this one, whose program lies in `bundle`, and the installers that work on it, by
  /// identifier. Programs of other users count where the system lets their programs be seen. Installers count that were
  /// started by root, by this user, or by the owner of the bundle or of the folder it is in; anybody can start a
  /// process that calls itself one, and nobody else's could replace the bundle.
  [[nodiscard]] virtual std::vector<ApplicationProcess> processesOf(const QuillonURL& bundle) const = 0;
};

/// The platform's processes.
[[nodiscard]] std::shared_ptr<const ApplicationProcessFinding> makeSystemApplicationProcesses();

/// "1234 (Example), 1240 (Example)".
[[nodiscard]] std::string describe(const std::vector<ApplicationProcess>& processes);

}  // namespace quillon
