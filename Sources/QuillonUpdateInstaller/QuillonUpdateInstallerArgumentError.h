#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "QuillonCore/Values/QuillonError.h"

namespace quillon {

/// What is wrong with the installer's command line. Equal by case and option.
class QuillonUpdateInstallerArgumentError : public QuillonError {
 public:
  enum class Code : std::uint8_t {
    missingRequiredArgument,
    missingValue,
    invalidHostProcessIdentifier,
    invalidApplicationBuild,
    invalidSameBuildReplacementPolicy,
    invalidLaunchUserContext,
  };

  static QuillonUpdateInstallerArgumentError missingRequiredArgument(std::string_view option);
  static QuillonUpdateInstallerArgumentError missingValue(std::string_view option);
  static QuillonUpdateInstallerArgumentError invalidHostProcessIdentifier();
  static QuillonUpdateInstallerArgumentError invalidApplicationBuild();
  static QuillonUpdateInstallerArgumentError invalidSameBuildReplacementPolicy();
  static QuillonUpdateInstallerArgumentError invalidLaunchUserContext();

  [[nodiscard]] Code code() const noexcept { return code_; }
  /// Name of the option, for the first two cases; else empty.
  [[nodiscard]] const std::string& option() const noexcept { return option_; }

  friend bool operator==(const QuillonUpdateInstallerArgumentError& a, const QuillonUpdateInstallerArgumentError& b) {
    return a.code_ == b.code_ && a.option_ == b.option_;
  }

 private:
  QuillonUpdateInstallerArgumentError(Code code, std::string_view text, std::string_view option = {});

  Code code_;
  std::string option_;
};

}  // namespace quillon
