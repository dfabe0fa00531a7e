#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace quillon {

/// The roots whose certificates vouch for a team: the platform vendor's, known by their fingerprints, and those that
/// the machine's administrator has put into a folder.
struct TrustAnchors {
  /// The administrator's roots, in DER.
  std::vector<std::string> certificates;
  /// One sentence for each file or folder that was not taken.
  std::vector<std::string> refusals;

  /// Whether this is the SHA-256 fingerprint (32 bytes) of one of the platform vendor's roots.
  [[nodiscard]] static bool isAppleRoot(std::string_view sha256) noexcept;

  /// Reads every PEM file (`*.pem`) of `folder`, which need not exist. Folder and files must belong to the superuser,
  /// or to the current user when this process has no privileges, and nobody else may write them; anything else is
  /// refused: a team may not be vouched for by whoever can write a file.
  [[nodiscard]] static TrustAnchors load(const std::filesystem::path& folder);

  /// The anchors of this machine: `quillon/anchors.d` in the system's folder of settings.
  [[nodiscard]] static TrustAnchors system();
};

}  // namespace quillon
