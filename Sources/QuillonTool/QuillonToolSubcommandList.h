#pragma once

#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "QuillonTool/QuillonToolSubcommand.h"

namespace quillon {

/// The subcommands by their names, and the texts that list them.
class QuillonToolSubcommandList {
 public:
  using Words = std::span<const std::string>;

  explicit QuillonToolSubcommandList(std::vector<QuillonToolSubcommand> subcommands)
      : subcommands_(std::move(subcommands)) {}

  /// The subcommand that the first words name; null when they name none.
  [[nodiscard]] const QuillonToolSubcommand* find(Words words) const noexcept;
  /// What `words` tell about: everything, one group, or one subcommand. Throws QuillonToolUsageError when they name
  /// nothing, or are more than a name.
  [[nodiscard]] std::string help(Words words) const;
  /// Throws the QuillonToolUsageError that says why `words`, of which there are some, name no subcommand.
  [[noreturn]] void throwUnknown(Words words) const;

 private:
  [[nodiscard]] bool isGroup(std::string_view word) const noexcept;
  [[nodiscard]] std::string groupNames() const;
  [[nodiscard]] std::string namesIn(std::string_view group) const;
  [[nodiscard]] std::string lines(std::string_view group) const;

  std::vector<QuillonToolSubcommand> subcommands_;
};

}  // namespace quillon
