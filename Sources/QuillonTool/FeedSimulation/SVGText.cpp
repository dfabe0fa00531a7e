#include "QuillonTool/FeedSimulation/SVGText.h"

#include "QuillonCore/Text/QuillonScalars.h"
#include "QuillonCore/Values/PropertyListCodec/PropertyListText.h"

namespace quillon {
namespace {

/// Unicode Standard Annex 9, table 4: embeddings, overrides and isolates, and the marks.
bool changesDirection(char32_t scalar) noexcept {
  return (scalar >= 0x202A && scalar <= 0x202E) || (scalar >= 0x2066 && scalar <= 0x2069) || scalar == 0x200E ||
         scalar == 0x200F || scalar == 0x061C;
}

/// XML 1.0, production 2, "Char", without the discouraged controls.
bool isShown(char32_t scalar) noexcept {
  const bool isControl = scalar < 0x20 || (scalar >= 0x7F && scalar <= 0x9F);
  return !isControl && isUnicodeScalar(scalar) && scalar != 0xFFFE && scalar != 0xFFFF && !changesDirection(scalar);
}

void append(std::string& content, char32_t scalar) {
  switch (scalar) {
    case U'&':
      content += "&amp;";
      return;
    case U'<':
      content += "&lt;";
      return;
    case U'>':
      content += "&gt;";
      return;
    case U'"':
      content += "&quot;";
      return;
    case U'\t':
    case U'\n':
    case U'\r':
      content += ' ';
      return;
    default:
      appendUTF8(content, isShown(scalar) ? scalar : U'\uFFFD');
  }
}

}  // namespace

std::string svgText(std::string_view text) {
  std::string content;
  while (!text.empty()) append(content, takeFirstScalar(text));
  return content;
}

}  // namespace quillon
