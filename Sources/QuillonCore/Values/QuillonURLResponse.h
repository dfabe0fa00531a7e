#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "QuillonCore/Values/QuillonURL.h"
#include "QuillonCore/Values/QuillonURLRequest.h"

namespace quillon {

/// What a location answered, its body aside.
struct QuillonURLResponse {
  /// The location that answered: the last one of a chain of redirects.
  QuillonURL url;
  /// Absent for a location that is not HTTP, such as a file. Nobody judges it before the caller does.
  std::optional<std::int32_t> httpStatusCode = std::nullopt;
  /// Announced length of the body in bytes, -1 when it was not announced.
  std::int64_t expectedContentLength = -1;
  std::vector<QuillonHTTPHeaderField> headerFields = {};

  /// Value of the first header field called `name`, letter case aside.
  [[nodiscard]] std::optional<std::string_view> valueForHeaderField(std::string_view name) const noexcept;

  friend bool operator==(const QuillonURLResponse&, const QuillonURLResponse&) = default;
};

}  // namespace quillon
