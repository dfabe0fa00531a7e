#pragma once

namespace quillon {

/// Puts right what a command may have inherited from whoever started it. To be called first in `main`.
///
/// A closed standard stream is opened on /dev/null, so that no other file takes its number. A reader of the output that
/// goes away, and a limit on the size of files, become errors instead of ending the process. Ended children are
/// reported again.
void prepareCommandProcess() noexcept;

}  // namespace quillon
