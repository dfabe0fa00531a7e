#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "QuillonCore/Contracts/QuillonFileManaging.h"
#include "QuillonCore/Values/QuillonURL.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateTexts.h"

namespace quillon {

/// The text for `key` in the user's language from `table` of a bundle; else `key`, which is the English text. Called
/// from any thread.
using VeskUpdateTextLookup = std::function<std::string(std::string_view key, std::string_view table)>;

/// The texts of the host's bundle in the user's language: those of the update texts' own table, and those of the table
/// that the application shares. Does not change once it is made, and may be used from any thread.
class VeskUpdateLocalizationBundle {
 public:
  /// Reads the tables of the bundle at `bundleURL`. `preferredLanguages` are language tags, the best one first.
  VeskUpdateLocalizationBundle(const std::shared_ptr<const QuillonFileManaging>& fileManager,
                               const QuillonURL& bundleURL, const std::vector<std::string>& preferredLanguages);

  /// Leaves looking texts up, in `language`, to somebody else.
  VeskUpdateLocalizationBundle(VeskUpdateTextLookup lookup, std::string language);

  /// `text` from the update texts' table; the English where that has none.
  [[nodiscard]] std::string text(const VeskUpdateText& text) const;
  /// The text for `key` from the application's table, else `key`.
  [[nodiscard]] std::string applicationText(std::string_view key) const;

  /// The language of the update texts, in which sizes beside them are written: a language tag.
  [[nodiscard]] const std::string& language() const noexcept { return language_; }

 private:
  VeskUpdateTextLookup lookup_;
  std::string language_;
};

/// The texts of the bundle at `bundleURL` in the language that the platform chooses for this user. On macOS the
/// platform looks them up.
[[nodiscard]] std::shared_ptr<const VeskUpdateLocalizationBundle> makeSystemLocalizationBundle(
    const QuillonURL& bundleURL);

}  // namespace quillon
