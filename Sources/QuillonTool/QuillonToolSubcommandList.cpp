#include "QuillonTool/QuillonToolSubcommandList.h"

#include <algorithm>
#include <cstddef>

#include "QuillonTool/QuillonToolUsageError.h"

namespace quillon {
namespace {

constexpr std::size_t kNameColumnWidth = 16;

std::string joined(const std::vector<std::string_view>& names) {
  std::string text;
  for (const std::string_view name : names) text.append(text.empty() ? "" : ", ").append(name);
  return text;
}

}  // namespace

const QuillonToolSubcommand* QuillonToolSubcommandList::find(Words words) const noexcept {
  const auto found = std::ranges::find_if(subcommands_, [words](const QuillonToolSubcommand& subcommand) {
    if (words.size() < subcommand.wordCount() || subcommand.group != words[0]) return false;
    return subcommand.name.empty() || subcommand.name == words[1];
  });
  return found == subcommands_.end() ? nullptr : &*found;
}

std::string QuillonToolSubcommandList::help(Words words) const {
  if (words.empty()) {
    return "Usage: quillon COMMAND SUBCOMMAND [ARGUMENT...]\n\nHelps to publish and test software "
           "updates.\n\nCommands:\n" +
           lines({}) +
           "\nOptions:\n  --help     Print this text\n  --version  Print the version of this command\n"
           "\n'quillon COMMAND SUBCOMMAND --help' tells more about each.\n";
  }
  const QuillonToolSubcommand* const subcommand = find(words);
  if (subcommand == nullptr && words.size() == 1 && isGroup(words[0])) {
    return "Usage: quillon " + words[0] + " SUBCOMMAND [ARGUMENT...]\n\nCommands:\n" + lines(words[0]);
  }
  if (subcommand == nullptr) throwUnknown(words);
  if (words.size() > subcommand->wordCount()) {
    throw QuillonToolUsageError("The word \"" + words[subcommand->wordCount()] + "\" is one too many; leave it out.");
  }
  return std::string(subcommand->help);
}

void QuillonToolSubcommandList::throwUnknown(Words words) const {
  const std::string& group = words[0];
  if (group.starts_with('-')) {
    throw QuillonToolUsageError("Unknown option \"" + group + "\"; write --help, --version or a command.");
  }
  if (!isGroup(group)) {
    throw QuillonToolUsageError("Unknown command \"" + group + "\"; the commands are " + groupNames() + ".");
  }
  if (words.size() == 1) {
    throw QuillonToolUsageError("The command \"" + group + "\" needs a subcommand: " + namesIn(group) + ".");
  }
  throw QuillonToolUsageError("Unknown subcommand \"" + words[1] + "\" of \"" + group + "\"; it has " + namesIn(group) +
                              ".");
}

bool QuillonToolSubcommandList::isGroup(std::string_view word) const noexcept {
  return std::ranges::find(subcommands_, word, &QuillonToolSubcommand::group) != subcommands_.end();
}

std::string QuillonToolSubcommandList::groupNames() const {
  std::vector<std::string_view> names;
  for (const QuillonToolSubcommand& subcommand : subcommands_) {
    if (std::ranges::find(names, subcommand.group) == names.end()) names.push_back(subcommand.group);
  }
  return joined(names);
}

std::string QuillonToolSubcommandList::namesIn(std::string_view group) const {
  std::vector<std::string_view> names;
  for (const QuillonToolSubcommand& subcommand : subcommands_) {
    if (subcommand.group == group) names.push_back(subcommand.name);
  }
  return joined(names);
}

/// A line for each subcommand of `group`, of all groups for an empty one.
std::string QuillonToolSubcommandList::lines(std::string_view group) const {
  std::string text;
  for (const QuillonToolSubcommand& subcommand : subcommands_) {
    if (!group.empty() && subcommand.group != group) continue;
    std::string title = subcommand.title();
    title.resize(std::max(title.size(), kNameColumnWidth), ' ');
    text.append("  ").append(title).append("  ").append(subcommand.summary).append("\n");
  }
  return text;
}

}  // namespace quillon
