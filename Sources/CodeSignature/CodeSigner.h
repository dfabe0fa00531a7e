#pragma once

#include <chrono>
#include <optional>
#include <set>
#include <string>

#include "CodeSignature/CodeHash.h"
#include "CodeSignature/Entitlements.h"
#include "CodeSignature/SigningIdentity.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

/// The code has a signature, and `SigningOptions` do not say that it is to be replaced.
class CodeAlreadySignedError : public QuillonError {
 public:
  CodeAlreadySignedError() : QuillonError("is already signed") {}
};

struct SigningOptions {
  /// Absent: an ad-hoc signature, which seals the code and says nothing about who made it.
  std::optional<SigningIdentity> identity = std::nullopt;
  /// Empty: the bundle identifier of Info.plist, else the name of the bundle or file.
  std::string identifier = {};
  /// Whether code that is signed already is signed again. Signatures that linkers make, so that a program starts at
  /// all, are replaced in any case.
  bool replacesSignature = false;
  /// Whether nested code is signed again too, as these options say, identifier and entitlements excepted. Without it,
  /// nested code that has no signature is signed, and a valid signature is kept.
  bool signsNestedCode = false;
  /// Absent: SHA-256, and SHA-1 beside it for systems before 10.11.4, which know nothing else.
  std::optional<std::set<CodeHashType>> hashTypes = std::nullopt;
  /// When the signer says that this was signed; absent: the signature says nothing about that. Nobody else vouches for
  /// it, and equal bundles have equal signatures only when it is the same each time.
  std::optional<std::chrono::sys_seconds> signingTime = std::nullopt;
  std::optional<Entitlements> entitlements = std::nullopt;
  /// Whether the code runs in the hardened runtime: object files as defined in the SDK that they were built with.
  bool isRuntimeHardened = false;
};

/// What has been signed, for reports.
struct SignedCode {
  std::string identifier;
  /// "app bundle with Mach-O thin (arm64)".
  std::string format;
};

/// Signs the code at `item`: a bundle, nested code first, or a single Mach-O file. The signature is made completely
/// beside the previous one and then takes its place: after a failure the previous one is still there, untouched. What
/// nested code was signed before the failure stays signed.
///
/// Throws CodeSignatureError for code that could not be verified afterwards (links that lead out, special files,
/// damaged object files), CodeAlreadySignedError, QuillonError when it is a file of another kind, or an image has no
/// place for a signature, and QuillonSystemError.
SignedCode signCode(const QuillonURL& item, const SigningOptions& options);

}  // namespace quillon
