#pragma once

#include <memory>

#include "QuillonCore/Contracts/QuillonFileManaging.h"
#include "QuillonCore/Contracts/QuillonProcessRunning.h"
#include "QuillonCore/Contracts/QuillonWorkspaceOpening.h"

// The platform's own implementation of each port, made in one place.

namespace quillon {

[[nodiscard]] std::shared_ptr<QuillonFileManaging> makeSystemFileManager();
[[nodiscard]] std::shared_ptr<QuillonProcessRunning> makeSystemProcessRunner();
[[nodiscard]] std::shared_ptr<QuillonWorkspaceOpening> makeSystemWorkspace();

}  // namespace quillon
