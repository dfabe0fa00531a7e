#include "CodeSignature/CodeSignatureError.h"

namespace quillon {

std::string_view codeSignatureMessage(CodeSignatureErrorCode code) noexcept {
  using enum CodeSignatureErrorCode;
  switch (code) {
    case unsignedCode:
      return "code object is not signed at all";
    case signatureFailed:
      return "invalid signature (code or signature have been modified)";
    case notReadable:
      return "the code cannot be read by the verifier (file system permissions etc.)";
    case signatureUnsupported:
      return "unsupported type or version of signature";
    case badPropertyList:
      return "a required plist file or resource is malformed";
    case resourcesNotFound:
      return "code has no resources but signature indicates they must be present";
    case resourcesInvalid:
      return "the sealed resource directory is invalid";
    case badResource:
      return "a sealed resource is missing or invalid";
    case invalidResourceRules:
      return "invalid resource specification rule(s)";
    case requirementInvalid:
      return "invalid or corrupted code requirement(s)";
    case requirementUnsupported:
      return "unsupported type or version of code requirement(s)";
    case requirementFailed:
      return "code failed to satisfy specified code requirement(s)";
    case badObjectFormat:
      return "object file format unrecognized, invalid, or unsuitable";
    case signatureInvalid:
      return "invalid or unsupported format for signature";
    case infoPropertyListFailed:
      return "invalid Info.plist (plist or signature have been modified)";
    case noMainExecutable:
      return "the code has no main executable file";
    case badBundleFormat:
      return "bundle format unrecognized, invalid, or unsuitable";
    case resourceDirectoryFailed:
      return "invalid resource directory (directory or signature have been modified)";
    case badNestedCode:
      return "nested code is modified or invalid";
    case unsupportedResource:
      return "unsupported resource found (something not a directory, file or symlink)";
    case regularFileRequired:
      return "the main executable or Info.plist must be a regular file (no symlinks, etc.)";
    case unsealedRootContents:
      return "unsealed contents present in the bundle root";
    case weakResourceRules:
      return "resource envelope is obsolete (custom omit rules)";
    case folderSettingsLinkRefused:
      return ".DS_Store files cannot be a symlink";
    case ambiguousBundleFormat:
      return "bundle format is ambiguous (could be app or framework)";
    case mainExecutableInvalid:
      return "main executable failed strict validation";
    case badFrameworkVersion:
      return "embedded framework contains modified or invalid version";
    case unsealedFrameworkRootContents:
      return "unsealed contents present in the root directory of an embedded framework";
    case weakResourceEnvelope:
      return "resource envelope is obsolete (version 1 signature)";
    case invalidLinkDestination:
      return "invalid destination for symbolic link in bundle";
    case digestUnsupported:
      return "a requested signature digest algorithm is not supported";
    case sidebandDataRefused:
      return "resource fork, Finder information, or similar detritus not allowed";
    case invalidTeamIdentifier:
      return "a Team Identifier is wrong or inappropriate";
    case notTrusted:
      return "CSSMERR_TP_NOT_TRUSTED";
    case certificateExpired:
      return "CSSMERR_TP_CERT_EXPIRED";
  }
  return "unknown error";
}

}  // namespace quillon
