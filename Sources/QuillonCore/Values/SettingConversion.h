#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "QuillonCore/Values/QuillonPropertyListValue.h"

namespace quillon {

// A setting's value as another type, by the table of QuillonKeyValueStoring.

[[nodiscard]] bool boolOfSetting(const QuillonPropertyListValue& value) noexcept;
[[nodiscard]] std::optional<std::string> stringOfSetting(const QuillonPropertyListValue& value);
[[nodiscard]] std::int64_t integerOfSetting(const QuillonPropertyListValue& value) noexcept;
[[nodiscard]] double doubleOfSetting(const QuillonPropertyListValue& value) noexcept;

}  // namespace quillon
