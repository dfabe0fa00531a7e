#include "QuillonTool/QuillonToolJSONObject.h"

#include "QuillonCore/Text/QuillonScalars.h"

namespace quillon {
namespace {

constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";  // U+FFFD in UTF-8

bool isControl(char32_t scalar) {
  return scalar < 0x20 || (scalar >= 0x7F && scalar <= 0x9F);
}

bool isBadByte(char32_t scalar) {
  return scalar >= 0xD800 && scalar <= 0xDFFF;
}

void appendControl(std::string& text, char32_t scalar) {
  static constexpr std::string_view kHex = "0123456789abcdef";
  text.append("\\u00").append(1, kHex[scalar >> 4]).append(1, kHex[scalar & 15]);
}

std::string stringLiteral(std::string_view value) {
  std::string text = "\"";
  while (!value.empty()) {
    const std::string_view rest = value;
    const char32_t scalar = takeFirstScalar(value);
    if (isControl(scalar)) {
      appendControl(text, scalar);
    } else if (isBadByte(scalar)) {
      text.append(kReplacementCharacter);
    } else {
      if (scalar == '"' || scalar == '\\') text += '\\';
      text.append(rest.substr(0, rest.size() - value.size()));
    }
  }
  return text += '"';
}

}  // namespace

QuillonToolJSONObject& QuillonToolJSONObject::with(std::string_view key, const std::optional<std::string_view>& value) {
  return withLiteral(key, value ? stringLiteral(*value) : "null");
}

QuillonToolJSONObject& QuillonToolJSONObject::withBool(std::string_view key, bool value) {
  return withLiteral(key, value ? "true" : "false");
}

QuillonToolJSONObject& QuillonToolJSONObject::withObject(std::string_view key, const QuillonToolJSONObject& value) {
  return withLiteral(key, value.text());
}

QuillonToolJSONObject& QuillonToolJSONObject::withTexts(std::string_view key,
                                                        const std::vector<std::string_view>& values) {
  std::string literal = "[";
  for (const std::string_view value : values) {
    literal.append(literal.size() == 1 ? "" : ",").append(stringLiteral(value));
  }
  return withLiteral(key, literal + "]");
}

QuillonToolJSONObject& QuillonToolJSONObject::withObjects(std::string_view key,
                                                          const std::vector<QuillonToolJSONObject>& values) {
  std::string array = "[";
  for (const QuillonToolJSONObject& value : values) {
    if (array.size() > 1) array += ",";
    array.append(value.text());
  }
  return withLiteral(key, array + "]");
}

QuillonToolJSONObject& QuillonToolJSONObject::withLiteral(std::string_view key, std::string_view literal) {
  if (!members_.empty()) members_ += ",";
  members_.append(stringLiteral(key)).append(":").append(literal);
  return *this;
}

}  // namespace quillon
