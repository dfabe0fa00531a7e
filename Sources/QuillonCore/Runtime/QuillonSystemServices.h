#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string_view>

#include "QuillonCore/Contracts/QuillonFileManaging.h"
#include "QuillonCore/Contracts/QuillonKeyValueStoring.h"
#include "QuillonCore/Contracts/QuillonProcessRunning.h"
#include "QuillonCore/Contracts/QuillonWorkspaceOpening.h"

// The platform's own implementation of each port, made in one place.

namespace quillon {

/// The platform's file system.
[[nodiscard]] std::shared_ptr<QuillonFileManaging> makeSystemFileManager();
/// Runs commands with the environment that this process's privileges allow: its own, or a minimal one as root. A
/// command that runs longer than `timeLimit`, if there is one, is killed and has failed. One that is stopped has
/// `timeToCleanUp` to end by itself.
[[nodiscard]] std::shared_ptr<QuillonProcessRunning> makeSystemProcessRunner(
    std::optional<std::chrono::nanoseconds> timeLimit = std::nullopt,
    std::chrono::nanoseconds timeToCleanUp = kDefaultTimeToCleanUp);
/// The user's desktop.
[[nodiscard]] std::shared_ptr<QuillonWorkspaceOpening> makeSystemWorkspace();
/// The settings of this user for the application with `bundleIdentifier`. Throws QuillonSystemError: EINVAL for an
/// identifier that is no single path component, ENOENT when the user has no home.
[[nodiscard]] std::shared_ptr<QuillonKeyValueStoring> makeSystemUserDefaults(std::string_view bundleIdentifier);

}  // namespace quillon
