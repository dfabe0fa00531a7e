#pragma once

#include <string>
#include <vector>

#include "QuillonCore/Values/QuillonError.h"

namespace quillon {

/// The command line does not say what to do. `what()` is one sentence for the user.
class DittoArgumentError : public QuillonError {
 public:
  using QuillonError::QuillonError;
};

/// What the command line asks for.
struct DittoArguments {
  enum class Operation { extract, create, help, version } operation = Operation::help;
  /// The archive to extract, or what the archive to create is made of.
  std::string source;
  /// The folder to extract to, or the archive to create.
  std::string destination;
  bool keepsParent = false;

  friend bool operator==(const DittoArguments&, const DittoArguments&) = default;
};

/// Reads the command line without the command's own name. Throws DittoArgumentError.
[[nodiscard]] DittoArguments parseDittoArguments(const std::vector<std::string>& arguments);

/// One line per form of the command.
[[nodiscard]] std::string dittoUsage();

}  // namespace quillon
