#pragma once

#include <string>
#include <vector>

#include "QuillonCore/Values/QuillonError.h"

namespace quillon {

/// The command line does not say what to do. `what()` is one sentence for the user.
class CodesignArgumentError : public QuillonError {
 public:
  using QuillonError::QuillonError;
};

/// What the command line asks for.
struct CodesignArguments {
  enum class Operation { verify, display, sign, help, version } operation = Operation::help;
  std::vector<std::string> paths;
  int verbosity = 0;
  bool isStrict = false;
  bool isDeep = false;
  bool replacesSignature = false;
  /// Empty for an ad-hoc signature.
  std::string keyFile;
  std::string certificateFile;
  std::string identifier;
  /// Empty for code without entitlements.
  std::string entitlementsFile;
  bool isRuntimeHardened = false;
};

/// Reads the command line without the command's own name. Throws CodesignArgumentError.
[[nodiscard]] CodesignArguments parseCodesignArguments(const std::vector<std::string>& arguments);

/// One line per form of the command.
[[nodiscard]] std::string codesignUsage();

}  // namespace quillon
