#pragma once

#include <optional>

#include "QuillonTool/Update/UpdateOutcome.h"
#include "QuillonTool/Update/UpdateSession.h"

namespace quillon {

/// Looks at what became of the last installation, whose end nobody saw: says it, and cleans up behind it. Once, and
/// only while no other run and no installer is at work on the application.
[[nodiscard]] std::optional<UpdateOutcome::PreviousFailure> settlePreviousAttempt(const ApplicationSession& session);

}  // namespace quillon
