#pragma once

#include <string>
#include <vector>

#include "QuillonCore/Runtime/Posix/FileDescriptor.h"
#include "QuillonCore/Runtime/Posix/QuillonProcessEnvironment.h"

namespace quillon {

/// The number under which a detached process finds the descriptor that it was given.
inline constexpr int kDetachedProcessDescriptor = 3;

/// Starts `executablePath` (absolute; nothing is searched) with `arguments` as a process that outlives this one and is
/// not its child: in a session of its own, working folder "/", standard input and output /dev/null, no other
/// descriptor than a copy of `descriptor`, if there is one, default signal dispositions, this process's own rights.
///
/// Returns once the program has taken the process's place. Throws the QuillonSystemError of what failed.
void startDetachedProcess(const std::string& executablePath, const std::vector<std::string>& arguments,
                          QuillonProcessEnvironment environment, const FileDescriptor& descriptor = FileDescriptor());

}  // namespace quillon
