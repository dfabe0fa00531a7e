#pragma once

#include <string>

#include "QuillonCore/Values/QuillonPropertyListValue.h"

namespace quillon {

/// Kind and value in one short line, for explanations: `string "42"`, `integer 42`, `array of 3`. A long string is cut
/// after at most 80 bytes. Control characters stay as they are.
[[nodiscard]] std::string xpcMessageValueText(const QuillonPropertyListValue& value);

}  // namespace quillon
