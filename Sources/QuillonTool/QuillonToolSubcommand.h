#pragma once

#include <string_view>
#include <vector>

#include "QuillonTool/QuillonToolArguments.h"
#include "QuillonTool/QuillonToolConsole.h"
#include "QuillonTool/QuillonToolExitStatus.h"
#include "QuillonTool/QuillonToolServices.h"

namespace quillon {

/// One thing that the command can do, called by two words: "version compare".
struct QuillonToolSubcommand {
  /// Does it and returns the exit status. Throws QuillonToolUsageError for a wrong command line or input, QuillonError
  /// for what failed.
  using Action = QuillonToolExitStatus (*)(const QuillonToolArguments&, const QuillonToolServices&,
                                           QuillonToolConsole&);

  std::string_view group;
  std::string_view name;
  /// One line, for the list of subcommands.
  std::string_view summary;
  /// The whole answer to "--help".
  std::string_view help;
  /// Without "--help", which every subcommand has.
  std::vector<QuillonToolOption> options = {};
  Action action = nullptr;
};

}  // namespace quillon
