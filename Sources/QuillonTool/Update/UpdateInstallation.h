#pragma once

#include <string>

#include "QuillonCore/Values/QuillonPropertyListValue.h"
#include "QuillonTool/Update/UpdateOutcome.h"
#include "QuillonTool/Update/UpdateSession.h"

namespace quillon {

/// Throws UpdateFailure for an application that cannot replace itself, so that nothing is downloaded in vain.
void requireInstaller(const ApplicationSession& session);

/// Downloads what `entry` offers, unpacks and validates it, and hands it on: to the application's installer after the
/// user's consent, or as an installer document to the desktop, where a user was asked. `identifier` is the one by which
/// the entry is remembered.
///
/// Throws UpdateFailure, or QuillonCancellationError after a stop. Not on the main thread.
[[nodiscard]] UpdateOutcome::Result installUpdate(const ApplicationSession& session,
                                                  const QuillonPropertyListValue::Dictionary& entry,
                                                  const std::string& identifier);

}  // namespace quillon
