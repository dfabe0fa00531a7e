#pragma once

#include <map>
#include <string>
#include <string_view>

namespace quillon {

/// The file that tells polkit of a host's own right (polkit(8), "DECLARING ACTIONS"): what its dialog says, and that it
/// takes an administrator.
struct PolkitActionFile {
  /// A text in English, and translations by the language that polkit looks for.
  struct Text {
    std::string english;
    std::map<std::string, std::string> translations;

    friend bool operator==(const Text&, const Text&) = default;
  };

  std::string actionIdentifier;
  /// Who the action belongs to.
  std::string vendor;
  /// What the action is, for administrators.
  Text description;
  /// What the dialog says.
  Text message;

  /// The file's content. An administrator confirms wherever the user sits, polkit keeps the answer for a while, and it
  /// covers the right to start units, so that starting the installer takes one dialog. Characters that XML has no place
  /// for become U+FFFD, line breaks blanks.
  [[nodiscard]] std::string content() const;

  /// Whether polkit accepts `identifier` as the name of an action: letters, digits, periods and hyphens of ASCII.
  [[nodiscard]] static bool isActionIdentifier(std::string_view identifier) noexcept;
  /// `language`, a language tag, as polkit looks for it: like a locale, "pt_BR" for "pt-BR" and "zh_CN" for "zh-Hans".
  [[nodiscard]] static std::string localeName(std::string_view language);

  friend bool operator==(const PolkitActionFile&, const PolkitActionFile&) = default;
};

}  // namespace quillon
