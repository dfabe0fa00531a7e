#pragma once

#include <cstdint>

#include "QuillonCore/Values/QuillonError.h"

namespace quillon {

/// Why downloaded bytes give no feed. `description()` is the whole of what is known.
class VeskUpdateFeedParserError : public QuillonError {
 public:
  enum class Code : std::uint8_t {
    feedFailedToParse,  ///< the bytes are no property list
    feedNotFound,       ///< there are no bytes, or no entries in them
  };

  explicit VeskUpdateFeedParserError(Code code);

  static VeskUpdateFeedParserError feedFailedToParse() { return VeskUpdateFeedParserError(Code::feedFailedToParse); }
  static VeskUpdateFeedParserError feedNotFound() { return VeskUpdateFeedParserError(Code::feedNotFound); }

  [[nodiscard]] Code code() const noexcept { return code_; }

  friend bool operator==(const VeskUpdateFeedParserError& a, const VeskUpdateFeedParserError& b) noexcept {
    return a.code_ == b.code_;
  }

 private:
  Code code_;
};

}  // namespace quillon
