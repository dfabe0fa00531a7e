#pragma once

#include "QuillonCore/Contracts/QuillonWorkspaceOpening.h"

namespace quillon {

/// The workspace of the user's session (`NSWorkspace`). Callable from any thread.
class QuillonAppleWorkspace final : public QuillonWorkspaceOpening {
 public:
  [[nodiscard]] bool open(const QuillonURL& url) noexcept override;
};

}  // namespace quillon
