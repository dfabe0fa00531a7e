#pragma once

#include <set>
#include <string>

#include "CodeSignature/CodeObject.h"
#include "CodeSignature/CodeSigner.h"

namespace quillon {

// What a signature says where the options leave it open.

/// The identifier of the options, of Info.plist (for a single file, that in the image), or else the name of the bundle
/// or file without extension; ad hoc, a single file's is made unique. Throws QuillonError for one with a NUL character.
[[nodiscard]] std::string signingIdentifier(const CodeObject& object, const SigningOptions& options);

/// The hash types of the options, or those that the systems understand which the code is made for, by its images or
/// else by LSMinimumSystemVersion: SHA-256, and SHA-1 beside it for systems before 10.11.4.
[[nodiscard]] std::set<CodeHashType> signingHashTypes(const CodeObject& object, const SigningOptions& options);

/// The blob of requirements: the one by which others recognise what this identity signs, or none ad hoc.
[[nodiscard]] std::string signingRequirements(const std::string& identifier, const SigningOptions& options);

}  // namespace quillon
