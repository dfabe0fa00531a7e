#pragma once

namespace quillon {

/// How the command ends. Scripts rely on the numbers.
enum QuillonToolExitStatus : int {
  kToolSuccess = 0,
  kToolFailure = 1,         ///< the answer is no, or the operation failed
  kToolWrongUsage = 2,      ///< the command line or the input was not understood
  kToolUpdateOffered = 10,  ///< there is an update, and it was not installed
  kToolCancelled = 130,     ///< a signal ended what was under way, as shells report SIGINT
};

}  // namespace quillon
