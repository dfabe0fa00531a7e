#pragma once

#include <string>
#include <string_view>

#include "QuillonCore/Values/QuillonError.h"

namespace quillon {

/// An archive is refused. `what()` is one sentence for the user, without control characters.
class ZipArchiveError : public QuillonError {
 public:
  using QuillonError::QuillonError;

  /// "The archive is damaged: `reason`."
  [[nodiscard]] static ZipArchiveError damaged(std::string_view reason);
  /// "The entry "`name`" `reason`." with the name's control characters written out.
  [[nodiscard]] static ZipArchiveError entry(std::string_view name, std::string_view reason);
};

/// `name` in quotation marks for a message: control characters and bytes that are no UTF-8 as \xNN, long names cut.
[[nodiscard]] std::string quotedArchiveName(std::string_view name);

}  // namespace quillon
