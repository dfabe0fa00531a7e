#include "QuillonCore/Runtime/QuillonSystemServices.h"

#include <cerrno>

#include "QuillonCore/Runtime/Linux/QuillonLinuxBaseDirectory.h"
#include "QuillonCore/Runtime/Linux/QuillonLinuxUserDefaults.h"
#include "QuillonCore/Runtime/Linux/QuillonLinuxWorkspace.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixFileManager.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixProcessRunner.h"
#include "QuillonCore/Values/QuillonError.h"

namespace quillon {

std::shared_ptr<QuillonFileManaging> makeSystemFileManager() {
  return std::make_shared<QuillonPosixFileManager>();
}

std::shared_ptr<QuillonProcessRunning> makeSystemProcessRunner(std::optional<std::chrono::nanoseconds> timeLimit,
                                                               std::chrono::nanoseconds timeToCleanUp) {
  return std::make_shared<QuillonPosixProcessRunner>(environmentForOwnPrivileges(), timeLimit,
                                                     makeSystemMonotonicTimeProvider(), timeToCleanUp);
}

std::shared_ptr<QuillonWorkspaceOpening> makeSystemWorkspace() {
  return std::make_shared<QuillonLinuxWorkspace>();
}

std::shared_ptr<QuillonKeyValueStoring> makeSystemUserDefaults(std::string_view bundleIdentifier) {
  const auto configuration = baseDirectory("XDG_CONFIG_HOME", ".config");
  if (!configuration) throw QuillonSystemError::posix(ENOENT, "find the home folder for", bundleIdentifier);
  return std::make_shared<QuillonLinuxUserDefaults>(
      makeSystemFileManager(), QuillonLinuxUserDefaults::folderForBundleIdentifier(bundleIdentifier, *configuration));
}

}  // namespace quillon
