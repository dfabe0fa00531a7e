#include "QuillonCore/Runtime/QuillonSystemServices.h"

#include "QuillonCore/Runtime/Apple/QuillonAppleUserDefaults.h"
#include "QuillonCore/Runtime/Apple/QuillonAppleWorkspace.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixFileManager.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixProcessRunner.h"

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
  return std::make_shared<QuillonAppleWorkspace>();
}

std::shared_ptr<QuillonKeyValueStoring> makeSystemUserDefaults(std::string_view bundleIdentifier) {
  return std::make_shared<QuillonAppleUserDefaults>(bundleIdentifier);
}

}  // namespace quillon
