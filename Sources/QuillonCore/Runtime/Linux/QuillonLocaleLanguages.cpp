#include "QuillonCore/Runtime/Linux/QuillonLocaleLanguages.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "QuillonCore/Runtime/QuillonPreferredLanguages.h"

namespace quillon {
namespace {

using Variable = std::function<const char*(const char*)>;

std::string_view valueOf(const Variable& variable, const char* name) {
  const char* const value = variable(name);
  return value == nullptr ? std::string_view() : value;
}

/// "de_AT.UTF-8@euro" as "de-AT".
std::string languageTag(std::string_view locale) {
  std::string tag(locale.substr(0, locale.find_first_of(".@")));
  std::ranges::replace(tag, '_', '-');
  return tag;
}

/// The locale of messages: the first of three variables that is set decides.
std::string_view localeOfMessages(const Variable& variable) {
  for (const char* const name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    if (const std::string_view value = valueOf(variable, name); !value.empty()) return value;
  }
  return {};
}

void append(std::vector<std::string>& languages, std::string_view locale) {
  std::string tag = languageTag(locale);
  const bool isLanguage = !tag.empty() && tag != "C" && tag != "POSIX";
  if (isLanguage && std::ranges::find(languages, tag) == languages.end()) languages.push_back(std::move(tag));
}

}  // namespace

std::vector<std::string> languagesOfLocale(const Variable& variable) {
  std::vector<std::string> languages;
  const std::string_view locale = localeOfMessages(variable);
  append(languages, locale);
  if (languages.empty()) return languages;  // the locale "C" wants no translations, whatever "LANGUAGE" says

  languages.clear();
  std::string_view list = valueOf(variable, "LANGUAGE");
  while (!list.empty()) {
    const std::size_t end = std::min(list.find(':'), list.size());
    append(languages, list.substr(0, end));
    list.remove_prefix(std::min(end + 1, list.size()));
  }
  append(languages, locale);
  return languages;
}

std::vector<std::string> preferredLanguages() {
  return languagesOfLocale([](const char* name) { return std::getenv(name); });  // NOLINT(concurrency-mt-unsafe)
}

}  // namespace quillon
