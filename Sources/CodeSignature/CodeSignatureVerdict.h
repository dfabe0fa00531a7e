#pragma once

#include <optional>
#include <string>
#include <vector>

#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/TrustAnchors.h"
#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

struct VerificationOptions {
  /// Whether link destinations, special files, sideband data and unsealed leftovers count.
  bool isStrict = true;
  /// Whether nested code is verified in full, not only its signature and requirement.
  bool isDeep = true;
  /// Absent: the anchors of this machine.
  std::optional<TrustAnchors> anchors = std::nullopt;
};

/// The outcome of a verification.
struct CodeSignatureVerdict {
  /// The failed step; absent when the signature is valid, and for failures of the file system, which have a message
  /// only.
  std::optional<CodeSignatureErrorCode> failure = std::nullopt;
  /// One sentence; empty when the signature is valid.
  std::string message;
  /// Lines that say where: "file added: /absolute/path".
  std::vector<std::string> details;
  /// Path of the innermost nested code that failed; empty when it is the code itself.
  std::string subcomponent;
  /// Name of the architecture that failed; empty when it is not one alone.
  std::string architecture;
  /// Whether the code meets the requirement by which it wants to be recognised; false when it is invalid.
  bool meetsDesignatedRequirement = false;

  [[nodiscard]] bool isValid() const noexcept { return message.empty(); }
  /// 0 for valid code, 1 for invalid code, 3 for valid code that does not meet its own designated requirement.
  [[nodiscard]] int exitStatus() const noexcept { return isValid() ? (meetsDesignatedRequirement ? 0 : 3) : 1; }
  /// What a tool prints about the code at `path`, line by line; empty for valid code.
  [[nodiscard]] std::string text(const std::string& path) const;
};

/// Verifies the signature of the code at `item`, a bundle, the main executable of one, or a single file: every
/// architecture of the code, Info.plist, resources, nested code, certificates. Follows no link inside a bundle, opens
/// nothing but regular files and folders, and changes nothing. Hashes on all processors; memory grows with the number
/// of files and pages, not with what they hold.
[[nodiscard]] CodeSignatureVerdict verifyCode(const QuillonURL& item, const VerificationOptions& options = {});

}  // namespace quillon
