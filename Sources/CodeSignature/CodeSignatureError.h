#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "QuillonCore/Values/QuillonError.h"

namespace quillon {

/// Why a code object is refused. The numbers are those of the platform's Code Signing Services (CSCommon.h); the last
/// three are results of certificate evaluation (cssmerr.h), which have a name instead of a sentence.
enum class CodeSignatureErrorCode : std::int32_t {
  unsignedCode = -67062,
  signatureFailed = -67061,
  notReadable = -67060,
  signatureUnsupported = -67059,
  badPropertyList = -67058,
  resourcesNotFound = -67056,
  resourcesInvalid = -67055,
  badResource = -67054,
  invalidResourceRules = -67053,
  requirementInvalid = -67052,
  requirementUnsupported = -67051,
  requirementFailed = -67050,
  badObjectFormat = -67049,
  signatureInvalid = -67045,
  infoPropertyListFailed = -67030,
  noMainExecutable = -67029,
  badBundleFormat = -67028,
  resourceDirectoryFailed = -67023,
  badNestedCode = -67021,
  unsupportedResource = -67016,
  regularFileRequired = -67015,
  unsealedRootContents = -67014,
  weakResourceRules = -67013,
  folderSettingsLinkRefused = -67012,
  ambiguousBundleFormat = -67011,
  mainExecutableInvalid = -67010,
  badFrameworkVersion = -67009,
  unsealedFrameworkRootContents = -67008,
  weakResourceEnvelope = -67007,
  invalidLinkDestination = -67003,
  digestUnsupported = -67000,
  sidebandDataRefused = -66999,
  invalidTeamIdentifier = -66997,
  notTrusted = -2147409622,
  certificateExpired = -2147409654,
};

/// The sentence (or name) of `code`, word for word as the platform's tool prints it.
[[nodiscard]] std::string_view codeSignatureMessage(CodeSignatureErrorCode code) noexcept;

/// A code object cannot be verified, read or signed. `description()` is the message of the code, or a more exact text.
class CodeSignatureError : public QuillonError {
 public:
  explicit CodeSignatureError(CodeSignatureErrorCode code, std::vector<std::string> details = {})
      : QuillonError(std::string(codeSignatureMessage(code))), code_(code), details_(std::move(details)) {}

  [[nodiscard]] CodeSignatureErrorCode code() const noexcept { return code_; }
  /// Lines that say where: "file added: /absolute/path".
  [[nodiscard]] const std::vector<std::string>& details() const noexcept { return details_; }
  /// Path of the innermost nested code that failed; empty when it is the code itself.
  [[nodiscard]] const std::string& subcomponent() const noexcept { return subcomponent_; }

  /// Name of the architecture whose part of the code failed; empty when it is not one architecture alone.
  [[nodiscard]] const std::string& architecture() const noexcept { return architecture_; }

  /// The same error, met in the code of one architecture.
  [[nodiscard]] CodeSignatureError inArchitecture(const std::string& architecture) const {
    CodeSignatureError error(*this);
    error.architecture_ = architecture;
    return error;
  }

  /// The same error, met in the nested code at `path`. The innermost path stays.
  [[nodiscard]] CodeSignatureError inSubcomponent(const std::string& path) const {
    CodeSignatureError error(*this);
    if (error.subcomponent_.empty()) error.subcomponent_ = path;
    return error;
  }

 private:
  CodeSignatureErrorCode code_;
  std::vector<std::string> details_;
  std::string subcomponent_;
  std::string architecture_;
};

}  // namespace quillon
