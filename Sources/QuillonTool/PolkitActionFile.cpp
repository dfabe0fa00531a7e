#include "QuillonTool/PolkitActionFile.h"

#include <algorithm>

#include "QuillonCore/Text/QuillonScalars.h"
#include "QuillonCore/Values/PropertyListCodec/PropertyListText.h"

namespace quillon {
namespace {

constexpr std::string_view kBeginning = R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE policyconfig PUBLIC "-//freedesktop//DTD PolicyKit Policy Configuration 1.0//EN"
  "http://www.freedesktop.org/standards/PolicyKit/1/policyconfig.dtd">
<policyconfig>
)";
/// The answer is kept, for otherwise systemd would ask for it once more.
constexpr std::string_view kEnd = R"(    <defaults>
      <allow_any>auth_admin_keep</allow_any>
      <allow_inactive>auth_admin_keep</allow_inactive>
      <allow_active>auth_admin_keep</allow_active>
    </defaults>
    <annotate key="org.freedesktop.policykit.imply">org.freedesktop.systemd1.manage-units</annotate>
  </action>
</policyconfig>
)";

/// Whether XML 1.0 has a place for `scalar` (production 2, "Char").
bool isXMLCharacter(char32_t scalar) noexcept {
  return scalar >= 0x20 && isUnicodeScalar(scalar) && scalar != 0xFFFE && scalar != 0xFFFF;
}

void appendEscaped(std::string& content, char32_t scalar) {
  switch (scalar) {
    case '&':
      content += "&amp;";
      break;
    case '<':
      content += "&lt;";
      break;
    case '>':
      content += "&gt;";
      break;
    case '"':
      content += "&quot;";
      break;
    case '\t':
    case '\n':
    case '\r':
      content += ' ';
      break;
    default:
      appendUTF8(content, isXMLCharacter(scalar) ? scalar : U'\uFFFD');
  }
}

std::string escaped(std::string_view text) {
  std::string content;
  while (!text.empty()) appendEscaped(content, takeFirstScalar(text));
  return content;
}

std::string element(std::string_view name, std::string_view attributes, std::string_view text) {
  return "<" + std::string(name).append(attributes) + ">" + escaped(text) + "</" + std::string(name) + ">\n";
}

std::string elements(std::string_view name, const PolkitActionFile::Text& text) {
  std::string content = "    " + element(name, {}, text.english);
  for (const auto& [language, translation] : text.translations) {
    content += "    " + element(name, " xml:lang=\"" + escaped(language) + "\"", translation);
  }
  return content;
}

}  // namespace

std::string PolkitActionFile::content() const {
  std::string text(kBeginning);
  text += "  " + element("vendor", {}, vendor);
  text += "  <action id=\"" + escaped(actionIdentifier) + "\">\n";
  text += elements("description", description);
  text += elements("message", message);
  return text.append(kEnd);
}

bool PolkitActionFile::isActionIdentifier(std::string_view identifier) noexcept {
  return !identifier.empty() && std::ranges::all_of(identifier, [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' || c == '-';
  });
}

std::string PolkitActionFile::localeName(std::string_view language) {
  if (language == "zh-Hans") return "zh_CN";
  if (language == "zh-Hant") return "zh_TW";
  std::string name(language);
  std::ranges::replace(name, '-', '_');
  return name;
}

}  // namespace quillon
