#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "QuillonCore/Values/QuillonError.h"

namespace quillon {

/// Why an update could not be checked for or installed, for the person who asked for it: `description()` says what was
/// wrong, where, and what to do.
class UpdateFailure : public QuillonError {
 public:
  /// `code` is one word by which scripts know the failure.
  UpdateFailure(std::string code, std::string description)
      : QuillonError(std::move(description)), code_(std::move(code)) {}

  [[nodiscard]] const std::string& code() const noexcept { return code_; }

 private:
  std::string code_;
};

}  // namespace quillon
