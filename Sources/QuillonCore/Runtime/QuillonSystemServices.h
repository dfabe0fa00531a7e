#pragma once

#include <memory>

#include "QuillonCore/Contracts/QuillonFileManaging.h"
#include "QuillonCore/Contracts/QuillonProcessRunning.h"
#include "QuillonCore/Contracts/QuillonWorkspaceOpening.h"

// The platform's own implementation of each port, made in one place.

namespace quillon {

/// The platform's file system.
[[nodiscard]] std::shared_ptr<QuillonFileManaging> makeSystemFileManager();
/// Runs commands with the environment that this process's privileges allow: its own, or a minimal one as root.
[[nodiscard]] std::shared_ptr<QuillonProcessRunning> makeSystemProcessRunner();
/// The user's desktop.
[[nodiscard]] std::shared_ptr<QuillonWorkspaceOpening> makeSystemWorkspace();

}  // namespace quillon
