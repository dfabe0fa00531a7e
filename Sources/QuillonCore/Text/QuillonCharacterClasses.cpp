#include "QuillonCore/Text/QuillonCharacterClasses.h"

#include <utf8proc.h>

#include "QuillonCore/Text/QuillonScalars.h"

namespace quillon {
namespace {

utf8proc_category_t categoryOf(char32_t scalar) noexcept {
  return utf8proc_category(static_cast<utf8proc_int32_t>(scalar));
}

}  // namespace

bool isDecimalDigit(char32_t scalar) noexcept {
  return categoryOf(scalar) == UTF8PROC_CATEGORY_ND;
}

std::uint8_t decimalDigitValue(char32_t scalar) noexcept {
  // Unicode promises that decimal digits come in ascending runs of ten, some directly after one another
  // (UAX #44, "Numeric_Type"); so the distance from the first of a run gives the value.
  char32_t first = scalar;
  while (first > 0 && isDecimalDigit(first - 1)) --first;
  return static_cast<std::uint8_t>((scalar - first) % 10);
}

bool isWhitespaceOrNewline(char32_t scalar) noexcept {
  if ((scalar >= 0x09 && scalar <= 0x0D) || scalar == 0x85) return true;
  switch (categoryOf(scalar)) {
    case UTF8PROC_CATEGORY_ZS:
    case UTF8PROC_CATEGORY_ZL:
    case UTF8PROC_CATEGORY_ZP:
      return true;
    default:  // a library's enumeration of every category
      return false;
  }
}

bool isPunctuation(char32_t scalar) noexcept {
  const utf8proc_category_t category = categoryOf(scalar);
  return category >= UTF8PROC_CATEGORY_PC && category <= UTF8PROC_CATEGORY_PO;
}

bool isLetter(char32_t scalar) noexcept {
  if (scalar < 0x80) return (scalar | 0x20U) >= U'a' && (scalar | 0x20U) <= U'z';
  const utf8proc_category_t category = categoryOf(scalar);
  return category >= UTF8PROC_CATEGORY_LU && category <= UTF8PROC_CATEGORY_ME;
}

bool containsLetter(std::string_view text) noexcept {
  while (!text.empty()) {
    if (isLetter(takeFirstScalar(text))) return true;
  }
  return false;
}

}  // namespace quillon
