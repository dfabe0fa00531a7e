#pragma once

#include <chrono>
#include <optional>
#include <set>
#include <string>

#include "CodeSignature/CodeHash.h"
#include "CodeSignature/SigningIdentity.h"
#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

struct SigningOptions {
  /// Absent: an ad-hoc signature, which seals the bundle and says nothing about who made it.
  std::optional<SigningIdentity> identity = std::nullopt;
  /// Empty: the bundle identifier of Info.plist, else the bundle's name.
  std::string identifier = {};
  /// Whether a bundle that is signed already is signed again.
  bool replacesSignature = false;
  /// Whether nested code is signed again too. Without it, nested code that has no signature is signed, and a valid
  /// signature is kept.
  bool signsNestedCode = false;
  /// Absent: SHA-256, and SHA-1 beside it for systems before 10.11.4 (LSMinimumSystemVersion), which know nothing else.
  std::optional<std::set<CodeHashType>> hashTypes = std::nullopt;
  /// When the signer says that this was signed; absent: the signature says nothing about that. Nobody else vouches for
  /// it, and equal bundles have equal signatures only when it is the same each time.
  std::optional<std::chrono::sys_seconds> signingTime = std::nullopt;
};

/// Signs the bundle at `bundle`, its nested bundles first. The signature is made completely beside the previous one and
/// then takes its place in one step: after a failure the previous one is still there, untouched.
///
/// Throws CodeSignatureError for a bundle that could not be verified afterwards (links that lead out, special files,
/// Mach-O code), QuillonError when it is signed already, and QuillonSystemError.
void signBundle(const QuillonURL& bundle, const SigningOptions& options);

}  // namespace quillon
