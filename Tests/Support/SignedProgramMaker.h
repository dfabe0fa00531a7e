#pragma once

#include <cstddef>
#include <filesystem>
#include <set>
#include <vector>

#include "CodeSignature/CodeHash.h"
#include "Support/MachOBuilder.h"

namespace quillon::testing {

/// What a program consists of, and how it is signed.
struct SignedProgramRequest {
  /// More than one make a universal file.
  std::vector<MachOArchitecture> architectures = {kARM64};
  /// Of 4096 bytes, for the code of each architecture.
  std::size_t pages = 3;
  std::set<CodeHashType> hashTypes = {CodeHashType::sha256};
  /// Otherwise with the identity that tests share, for the hardened runtime.
  bool isAdHoc = false;
  bool hasEntitlements = true;
};

/// Writes a program to `file` and signs it with this system's own signer: an Info.plist in the image, requirements, and
/// entitlements when they are asked for.
void makeSignedProgram(const std::filesystem::path& file, const SignedProgramRequest& request = {});

/// Writes a program that is signed as the platform's tool does it, with unused room behind the signature, and with a
/// time in the message.
void makeProgramWithRoom(const std::filesystem::path& file);

/// Writes a program that is signed as linkers do it: ad hoc, with a directory and nothing else, which begins at a
/// multiple of eight.
void makeLinkedProgram(const std::filesystem::path& file);

/// Writes the smallest program that the shared identity can sign, with a name and pages of its own.
void makeOtherProgram(const std::filesystem::path& file);

}  // namespace quillon::testing
