#include "QuillonTool/PolkitActionFile.h"

#include <algorithm>
#include <cstddef>

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

/// `text` with line breaks as blanks and without characters that XML has no place for.
std::string cleaned(std::string_view text) {
  std::string content;
  while (!text.empty()) {
    const char32_t scalar = takeFirstScalar(text);
    const bool isBlank = scalar == '\t' || scalar == '\n' || scalar == '\r';
    appendUTF8(content, isBlank ? U' ' : isXMLCharacter(scalar) ? scalar : U'\uFFFD');
  }
  return content;
}

void replaceAll(std::string& text, std::string_view part, std::string_view replacement) {
  for (std::size_t i = text.find(part); i != std::string::npos; i = text.find(part, i + replacement.size())) {
    text.replace(i, part.size(), replacement);
  }
}

/// The value of an attribute.
std::string attributeText(std::string_view text) {
  std::string content = cleaned(text);
  replaceAll(content, "&", "&amp;");
  replaceAll(content, "<", "&lt;");
  replaceAll(content, "\"", "&quot;");
  return content;
}

/// The content of an element. Of a text with entities polkit 122 keeps only what follows the last one, so a text that
/// looks like markup stands in a CDATA section.
std::string elementText(std::string_view text) {
  std::string content = cleaned(text);
  if (content.find_first_of("&<>") == std::string::npos) return content;
  replaceAll(content, "]]>", "]]]]><![CDATA[>");
  return "<![CDATA[" + content + "]]>";
}

std::string element(std::string_view name, std::string_view attributes, std::string_view text) {
  return "<" + std::string(name).append(attributes) + ">" + elementText(text) + "</" + std::string(name) + ">\n";
}

std::string elements(std::string_view name, const PolkitActionFile::Text& text) {
  std::string content = "    " + element(name, {}, text.english);
  for (const auto& [language, translation] : text.translations) {
    content += "    " + element(name, " xml:lang=\"" + attributeText(language) + "\"", translation);
  }
  return content;
}

}  // namespace

std::string PolkitActionFile::content() const {
  std::string text(kBeginning);
  text += "  " + element("vendor", {}, vendor);
  text += "  <action id=\"" + attributeText(actionIdentifier) + "\">\n";
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
