#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "QuillonTool/QuillonToolArguments.h"
#include "QuillonTool/QuillonToolConsole.h"
#include "QuillonTool/QuillonToolExitStatus.h"
#include "QuillonTool/QuillonToolServices.h"

namespace quillon {

/// One thing that the command can do, called by two words: "version compare"; or by one, when it is all that its group
/// has: "policy".
struct QuillonToolSubcommand {
  /// Does it and returns the exit status. Throws QuillonToolUsageError for a wrong command line or input, QuillonError
  /// for what failed.
  using Action = QuillonToolExitStatus (*)(const QuillonToolArguments&, const QuillonToolServices&,
                                           QuillonToolConsole&);

  std::string_view group;
  /// Empty for a subcommand of one word.
  std::string_view name;
  /// One line, for the list of subcommands.
  std::string_view summary;
  /// The whole answer to "--help".
  std::string_view help;
  /// Without "--help", which every subcommand has.
  std::vector<QuillonToolOption> options = {};
  Action action = nullptr;

  /// The words that call it: "version compare".
  [[nodiscard]] std::string title() const {
    return name.empty() ? std::string(group) : std::string(group).append(" ").append(name);
  }
  [[nodiscard]] std::size_t wordCount() const noexcept { return name.empty() ? 1 : 2; }
};

}  // namespace quillon
