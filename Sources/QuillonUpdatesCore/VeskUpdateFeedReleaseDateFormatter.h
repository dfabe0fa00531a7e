#pragma once

#include <optional>
#include <string_view>

#include "QuillonCore/Contracts/QuillonCalendar.h"

namespace quillon {

/// Reads release days.
class VeskUpdateFeedReleaseDateFormatter {
 public:
  /// Days are those of `calendar`, which has to outlive the formatter.
  explicit VeskUpdateFeedReleaseDateFormatter(const QuillonCalendar& calendar) noexcept : calendar_(calendar) {}

  /// The first moment of the day `text`: "yyyy-MM-dd" in ASCII digits and nothing else, a day of the years 1 to 9999
  /// that exists. Absent for everything else.
  [[nodiscard]] std::optional<QuillonDate> date(std::string_view text) const noexcept;

 private:
  const QuillonCalendar& calendar_;
};

}  // namespace quillon
