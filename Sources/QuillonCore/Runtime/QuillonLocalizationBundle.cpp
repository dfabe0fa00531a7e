#include "QuillonCore/Runtime/QuillonLocalizationBundle.h"

#include <algorithm>
#include <utility>

#include "QuillonCore/Values/PropertyListReading.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"

namespace quillon {
namespace {

constexpr std::string_view kFolderExtension = ".lproj";
/// Where texts without language stand, such as the layout of windows.
constexpr std::string_view kBaseFolder = "Base";

char lowerCase(char c) noexcept {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// Whether two language tags are the same: "pt_BR" and "pt-br" are.
bool isSameLanguage(std::string_view a, std::string_view b) noexcept {
  return std::ranges::equal(
      a, b, [](char x, char y) { return lowerCase(x == '_' ? '-' : x) == lowerCase(y == '_' ? '-' : y); });
}

bool isEnglish(std::string_view language) noexcept {
  return isSameLanguage(language.substr(0, language.find_first_of("-_")), "en");
}

/// `language` and what it falls back to, in this order.
std::vector<std::string> withFallbacks(const std::string& language) {
  std::vector<std::string> candidates = {language};
  for (const std::string_view region : {"zh-CN", "zh-SG"}) {
    if (isSameLanguage(language, region)) candidates.emplace_back("zh-Hans");
  }
  for (const std::string_view region : {"zh-TW", "zh-HK", "zh-MO"}) {
    if (isSameLanguage(language, region)) candidates.emplace_back("zh-Hant");
  }
  std::string shorter = language;
  for (std::size_t end = shorter.find_last_of("-_"); end != std::string::npos; end = shorter.find_last_of("-_")) {
    shorter.resize(end);
    candidates.push_back(shorter);
  }
  return candidates;
}

std::vector<std::string> readLanguages(const QuillonFileManaging& fileManager, const QuillonURL& resources) {
  std::vector<std::string> languages;
  try {
    for (const std::string& name : fileManager.contentsOfDirectory(resources)) {
      if (!name.ends_with(kFolderExtension)) continue;
      const std::string_view language = std::string_view(name).substr(0, name.size() - kFolderExtension.size());
      if (!language.empty() && language != kBaseFolder) languages.emplace_back(language);
    }
  } catch (const QuillonError&) {  // NOLINT(bugprone-empty-catch): a bundle without resources has no languages
  }
  return languages;
}

}  // namespace

QuillonLocalizationBundle::QuillonLocalizationBundle(std::shared_ptr<const QuillonFileManaging> fileManager,
                                                     const QuillonURL& bundleURL,
                                                     const std::vector<std::string>& preferredLanguages,
                                                     std::string_view table)
    : fileManager_(std::move(fileManager)),
      resources_(bundleURL.appendingPathComponent("Contents/Resources")),
      tableFile_(std::string(table) + ".strings"),
      languages_(readLanguages(*fileManager_, resources_)) {
  for (const std::string& preferred : preferredLanguages) {
    for (const std::string& language : withFallbacks(preferred)) {
      const std::string* const folder = folderFor(language);
      if (folder == nullptr) continue;
      tables_.push_back(readTable(*folder));
      if (language_.empty() && !tables_.back().empty()) language_ = preferred;
    }
    if (!isEnglish(preferred)) continue;
    if (language_.empty()) language_ = preferred;
    return;
  }
  if (language_.empty()) language_ = "en";
}

std::string QuillonLocalizationBundle::text(std::string_view key) const {
  for (const Table& table : tables_) {
    if (const std::string& text = stringOrEmpty(table, key); !text.empty()) return text;
  }
  return std::string(key);
}

std::optional<std::string> QuillonLocalizationBundle::textInLanguage(std::string_view language,
                                                                     std::string_view key) const {
  const std::string* const folder = folderFor(language);
  if (folder == nullptr) return std::nullopt;
  std::string text = stringOrEmpty(readTable(*folder), key);
  return text.empty() ? std::nullopt : std::optional(std::move(text));
}

/// The name that the bundle's folder of `language` has. Null when there is none: no path is ever made of a language
/// that somebody else names.
const std::string* QuillonLocalizationBundle::folderFor(std::string_view language) const noexcept {
  const auto found =
      std::ranges::find_if(languages_, [language](const std::string& name) { return isSameLanguage(name, language); });
  return found == languages_.end() ? nullptr : &*found;
}

QuillonLocalizationBundle::Table QuillonLocalizationBundle::readTable(std::string_view language) const {
  try {
    const QuillonURL folder = resources_.appendingPathComponent(std::string(language).append(kFolderExtension));
    const std::string bytes =
        fileManager_->contentsOfFile(folder.appendingPathComponent(tableFile_), kLargestLocalizationTable);
    QuillonPropertyListValue list = readPropertyList(bytes);
    Table* const table = list.getIf<Table>();
    return table == nullptr ? Table() : std::move(*table);
  } catch (const QuillonError&) {
    return {};
  }
}

}  // namespace quillon
