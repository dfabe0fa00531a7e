#include "QuillonTool/FeedAdd/FeedEntryOptions.h"

#include <array>
#include <optional>
#include <string_view>

#include "QuillonTool/QuillonToolUsageError.h"
#include "QuillonUpdatesCore/VeskUpdateFeedKeys.h"

namespace quillon {
namespace {

using Keys = VeskUpdateFeedKeys;
using Kind = QuillonToolOption::Kind;

struct EntryOption {
  std::string_view name;
  std::string_view key;
};

constexpr std::string_view kImportant = "--important";

constexpr std::array kOptions = {EntryOption{"--type", Keys::type},
                                 EntryOption{"--identifier", Keys::uid},
                                 EntryOption{"--version-range", Keys::version},
                                 EntryOption{"--minimum-os", Keys::os},
                                 EntryOption{"--os-range", Keys::os},
                                 EntryOption{"--sku", Keys::sku},
                                 EntryOption{"--language", Keys::language},
                                 EntryOption{"--must-update", Keys::mustUpdate},
                                 EntryOption{"--release-date", Keys::releaseDate},
                                 EntryOption{"--interval", Keys::interval},
                                 EntryOption{"--release-notes-url", Keys::url},
                                 EntryOption{"--title", Keys::title},
                                 EntryOption{"--prompt-size", Keys::size},
                                 EntryOption{"--installer-url", Keys::installerURL},
                                 EntryOption{"--installer-name", Keys::installerName}};

}  // namespace

std::vector<QuillonToolOption> feedEntryOptions() {
  std::vector<QuillonToolOption> options = {{.name = kImportant}};
  for (const EntryOption& option : kOptions) options.push_back({.name = option.name, .kind = Kind::withValue});
  return options;
}

std::map<std::string, std::string, std::less<>> readFeedEntryOptions(const QuillonToolArguments& arguments) {
  std::map<std::string, std::string, std::less<>> texts;
  for (const EntryOption& option : kOptions) {
    const std::optional<std::string> value = arguments.value(option.name);
    if (!value) continue;
    if (value->empty()) throw QuillonToolUsageError(std::string(option.name) + " is empty; write a value.");
    if (!texts.emplace(option.key, *value).second) {
      throw QuillonToolUsageError("Two options say what \"" + std::string(option.key) + "\" is; write one of them.");
    }
  }
  if (arguments.has(kImportant)) texts.emplace(Keys::important, "1");
  return texts;
}

}  // namespace quillon
