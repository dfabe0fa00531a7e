#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "QuillonCore/Contracts/QuillonFileManaging.h"
#include "QuillonCore/Values/QuillonPropertyListValue.h"
#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

/// A table of texts larger than this is none that an application ships (bytes).
inline constexpr std::size_t kLargestLocalizationTable = std::size_t{4} * 1024 * 1024;

/// The texts that a bundle has in several languages, by their English text: the property lists
/// "Contents/Resources/<language>.lproj/<table>.strings".
///
/// Tables are hostile until read: one that cannot be read, or a value that is no text, is as if it were not there. The
/// tables of the preferred languages are read when the object is made; it does not change afterwards and may be used
/// from any thread.
class QuillonLocalizationBundle {
 public:
  /// `preferredLanguages` are language tags, the best one first.
  QuillonLocalizationBundle(std::shared_ptr<const QuillonFileManaging> fileManager, const QuillonURL& bundleURL,
                            const std::vector<std::string>& preferredLanguages, std::string_view table = "Localizable");

  /// The languages that the bundle has a folder for, as the folders are named, sorted.
  [[nodiscard]] const std::vector<std::string>& languages() const noexcept { return languages_; }

  /// The best of the preferred languages that the bundle has texts in, as the user prefers it ("de-AT" where a folder
  /// "de" serves it): what goes with the texts, such as numbers, is written in it. "en" when no language is better.
  [[nodiscard]] const std::string& language() const noexcept { return language_; }

  /// The text for `key` in the best of the preferred languages that has one; else `key`, which is the English text.
  /// A region falls back to its language ("de-AT" to "de"), and "zh" with a region to its script.
  [[nodiscard]] std::string text(std::string_view key) const;

  /// The text for `key` in one of languages(), read from its table; absent when that has none.
  [[nodiscard]] std::optional<std::string> textInLanguage(std::string_view language, std::string_view key) const;

 private:
  using Table = QuillonPropertyListValue::Dictionary;

  [[nodiscard]] const std::string* folderFor(std::string_view language) const noexcept;
  [[nodiscard]] Table readTable(std::string_view language) const;

  const std::shared_ptr<const QuillonFileManaging> fileManager_;
  const QuillonURL resources_;
  const std::string tableFile_;
  std::vector<std::string> languages_;
  std::string language_;
  /// Of the preferred languages, up to English, which needs no table.
  std::vector<Table> tables_;
};

}  // namespace quillon
