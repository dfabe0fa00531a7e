#include "QuillonUpdateInstaller/QuillonUpdateInstallerArgumentError.h"

namespace quillon {

QuillonUpdateInstallerArgumentError::QuillonUpdateInstallerArgumentError(Code code, std::string_view text,
                                                                         std::string_view option)
    : QuillonError(std::string(text).append(option)), code_(code), option_(option) {}

QuillonUpdateInstallerArgumentError QuillonUpdateInstallerArgumentError::missingRequiredArgument(
    std::string_view option) {
  return {Code::missingRequiredArgument, "Missing required argument: ", option};
}

QuillonUpdateInstallerArgumentError QuillonUpdateInstallerArgumentError::missingValue(std::string_view option) {
  return {Code::missingValue, "Missing value for argument: ", option};
}

QuillonUpdateInstallerArgumentError QuillonUpdateInstallerArgumentError::invalidHostProcessIdentifier() {
  return {Code::invalidHostProcessIdentifier, "Invalid host process identifier"};
}

QuillonUpdateInstallerArgumentError QuillonUpdateInstallerArgumentError::invalidApplicationBuild() {
  return {Code::invalidApplicationBuild, "Invalid application build"};
}

QuillonUpdateInstallerArgumentError QuillonUpdateInstallerArgumentError::invalidSameBuildReplacementPolicy() {
  return {Code::invalidSameBuildReplacementPolicy, "Invalid same-build replacement policy"};
}

QuillonUpdateInstallerArgumentError QuillonUpdateInstallerArgumentError::invalidLaunchUserContext() {
  return {Code::invalidLaunchUserContext, "Invalid launch user context"};
}

}  // namespace quillon
