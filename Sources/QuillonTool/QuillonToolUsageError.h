#pragma once

#include "QuillonCore/Values/QuillonError.h"

namespace quillon {

/// The command was called wrongly: `description()` says what was wrong and what to write instead.
class QuillonToolUsageError : public QuillonError {
 public:
  using QuillonError::QuillonError;
};

}  // namespace quillon
