#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "CodeSignature/CodeDirectory.h"
#include "CodeSignature/Entitlements.h"
#include "CodeSignature/MachOFile.h"
#include "CodeSignature/SigningIdentity.h"

namespace quillon {

/// What the signatures of all images of an object file say.
struct MachOSigningRequest {
  std::string identifier = {};
  /// Flags of the code directories, beside those that follow from the rest.
  std::uint32_t flags = 0;
  /// The directory with the lowest type is the one that the message signs.
  std::set<CodeHashType> hashTypes = {CodeHashType::sha256};
  /// Info.plist and the seal of the resources, which are only hashed, and the requirements, which are embedded too.
  std::map<CodeSlot, std::string> parts = {};
  /// Whether Info.plist is what each image holds in its section __TEXT,__info_plist: for a file outside of any bundle.
  bool hasEmbeddedInformation = false;
  std::optional<Entitlements> entitlements = std::nullopt;
  /// Null for an ad-hoc signature.
  const SigningIdentity* identity = nullptr;
  /// When the signer says that this was signed; absent: the signature says nothing about that.
  std::optional<std::chrono::sys_seconds> signingTime = std::nullopt;
  /// Whether the code runs in the hardened runtime, as defined in the SDK that it was built with.
  bool isRuntimeHardened = false;
};

/// What has been embedded into one image.
struct MachOImageSignature {
  std::string architecture;
  /// In the order of their slots, as read back from their bytes.
  std::vector<CodeDirectory> directories;
};

/// Writes `object`, which was read from `file`, into `output` (empty, open for reading and writing) with every image
/// signed; a signature that an image has already is dropped. Apart from the signatures' own bytes, and the file's being
/// laid out anew around them, only the headers change. Without `identity`, the same input gives the same bytes.
///
/// Memory does not grow with the file but for its hashes, 32 bytes for 4096. Throws MachOSpaceError when an image has
/// no place for a signature, QuillonError, and QuillonSystemError; `output` is then of no use.
std::vector<MachOImageSignature> writeSignedMachOFile(const MachOFile& object, const FileDescriptor& file,
                                                      const FileDescriptor& output, const MachOSigningRequest& request);

/// Signs the object file `name` in `folder` as `writeSignedMachOFile` does. The signed file takes the place of the
/// previous one in one step: after a failure that one is still there, untouched. Throws CodeSignatureError for what is
/// no object file, QuillonError and QuillonSystemError.
std::vector<MachOImageSignature> signMachOFile(const FileDescriptor& folder, const std::string& name,
                                               const MachOSigningRequest& request);

/// The hashes that every system understands which `object` is made for: SHA-256, and SHA-1 beside it for macOS before
/// 10.11.4 and for images that do not say what they are made for.
[[nodiscard]] std::set<CodeHashType> hashTypesForMachO(const MachOFile& object);

/// A name for code that has none of its own and is signed by nobody: `baseName`, and a number that the linker gave to
/// the first image, so that different programs of one name stay different.
[[nodiscard]] std::string uniqueMachOIdentifier(const std::string& baseName, const MachOFile& object);

}  // namespace quillon
