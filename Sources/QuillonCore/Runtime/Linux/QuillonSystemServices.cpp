#include "QuillonCore/Runtime/QuillonSystemServices.h"

#include "QuillonCore/Runtime/Linux/QuillonLinuxWorkspace.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixFileManager.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixProcessRunner.h"

namespace quillon {

std::shared_ptr<QuillonFileManaging> makeSystemFileManager() {
  return std::make_shared<QuillonPosixFileManager>();
}

std::shared_ptr<QuillonProcessRunning> makeSystemProcessRunner() {
  return std::make_shared<QuillonPosixProcessRunner>();
}

std::shared_ptr<QuillonWorkspaceOpening> makeSystemWorkspace() {
  return std::make_shared<QuillonLinuxWorkspace>();
}

}  // namespace quillon
