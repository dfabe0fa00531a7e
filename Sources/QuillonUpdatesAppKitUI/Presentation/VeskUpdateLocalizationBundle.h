#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "QuillonCore/Runtime/QuillonLocalizationBundle.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateTexts.h"

namespace quillon {

/// The texts of the host's bundle in the user's language: those of the update texts' own table, and those of the table
/// that the application shares. Does not change once it is made, and may be used from any thread.
class VeskUpdateLocalizationBundle {
 public:
  /// Reads the tables of the bundle at `bundleURL`. `preferredLanguages` are language tags, the best one first.
  VeskUpdateLocalizationBundle(const std::shared_ptr<const QuillonFileManaging>& fileManager,
                               const QuillonURL& bundleURL, const std::vector<std::string>& preferredLanguages);

  /// `text` from the update texts' table; the English where that has none.
  [[nodiscard]] std::string text(const VeskUpdateText& text) const;
  /// The text for `key` from the application's table, else `key`.
  [[nodiscard]] std::string applicationText(std::string_view key) const;

  /// The update texts' table by itself. Its language is the one in which sizes beside the texts are written.
  [[nodiscard]] const std::shared_ptr<const QuillonLocalizationBundle>& updateTexts() const noexcept {
    return updateTexts_;
  }

 private:
  const std::shared_ptr<const QuillonLocalizationBundle> updateTexts_;
  const QuillonLocalizationBundle applicationTexts_;
};

}  // namespace quillon
