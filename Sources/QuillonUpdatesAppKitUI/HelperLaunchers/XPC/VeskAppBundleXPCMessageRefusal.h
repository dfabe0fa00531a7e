#pragma once

#include "QuillonCore/Values/QuillonError.h"

namespace quillon {

/// Why a message cannot be read, for people who look into it. `description()` names the key and shows a piece of what
/// stood there. The two ends of a connection tell each other only that a message was not read.
class VeskAppBundleXPCMessageRefusal : public QuillonError {
 public:
  using QuillonError::QuillonError;
};

}  // namespace quillon
