#pragma once

#include <string>
#include <utility>
#include <vector>

#include "QuillonTool/QuillonToolConsole.h"
#include "QuillonTool/QuillonToolServices.h"
#include "QuillonTool/QuillonToolSubcommandList.h"

namespace quillon {

/// All subcommands of `quillon`.
[[nodiscard]] QuillonToolSubcommandList allSubcommands();

/// The command `quillon`, for people who publish and test updates: finds the subcommand and runs it.
class QuillonToolMain {
 public:
  /// `version` is the one that "--version" prints.
  QuillonToolMain(QuillonToolServices services, std::string version,
                  QuillonToolSubcommandList subcommands = allSubcommands())
      : services_(std::move(services)), version_(std::move(version)), subcommands_(std::move(subcommands)) {}

  /// Does what `words`, the arguments after the program name, ask for. Every failure leaves a line on standard error.
  [[nodiscard]] QuillonToolExitStatus execute(const std::vector<std::string>& words,
                                              QuillonToolConsole& console) const noexcept;

 private:
  using Words = QuillonToolSubcommandList::Words;

  [[nodiscard]] QuillonToolExitStatus runReportingErrors(Words words, QuillonToolConsole& console) const;
  [[nodiscard]] QuillonToolExitStatus run(Words words, QuillonToolConsole& console) const;
  [[nodiscard]] std::string information(Words words) const;

  QuillonToolServices services_;
  std::string version_;
  QuillonToolSubcommandList subcommands_;
};

}  // namespace quillon
