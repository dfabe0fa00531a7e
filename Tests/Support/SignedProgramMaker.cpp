#include "Support/SignedProgramMaker.h"

#include <fcntl.h>

#include <chrono>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "CodeSignature/BlobBuilder.h"
#include "CodeSignature/CMSSignature.h"
#include "CodeSignature/CodeDirectory.h"
#include "CodeSignature/CodePages.h"
#include "CodeSignature/EmbeddedSignature.h"
#include "CodeSignature/MachOSigner.h"
#include "CodeSignature/RequirementSet.h"
#include "CodeSignature/RequirementText.h"
#include "Support/SigningIdentityMaker.h"
#include "Support/TemporaryDirectory.h"

namespace quillon::testing {
namespace {

constexpr std::string_view kIdentifier = "org.example.program";
constexpr std::string_view kInformation =
    "<plist version=\"1.0\"><dict><key>CFBundleIdentifier</key><string>org.example.program</string></dict></plist>";
constexpr std::string_view kEntitlements =
    "<plist version=\"1.0\"><dict><key>com.apple.security.cs.allow-jit</key><true/></dict></plist>";
constexpr std::size_t kPages = 3;
constexpr std::size_t kFreeHeaderSpace = 64;
constexpr std::uint8_t kPageSizeLog2 = 12;
constexpr std::uint32_t kLinkerSigned = 0x20000;
constexpr std::uint32_t kSuperBlobMagic = 0xFADE0CC0;
constexpr auto kSigningTime = std::chrono::sys_days(std::chrono::year(2024) / 5 / 8) + std::chrono::hours(15);

std::string requirementsBlob() {
  const std::string text = "identifier \"" + std::string(kIdentifier) + "\"";
  return buildRequirementSet({{RequirementPurpose::designated, parseRequirementText(text)}});
}

void writeAndSign(const std::filesystem::path& file, const std::string& image, const MachOSigningRequest& request) {
  writeFile(file, image);
  signMachOFile(openFolder(AT_FDCWD, file.parent_path().string()), file.filename().string(), request);
}

std::string imageFor(const MachOArchitecture& architecture, std::size_t pages) {
  return MachOBuilder(architecture)
      .withPages(pages)
      .withInformation(std::string(kInformation))
      .withFreeHeaderSpace(kFreeHeaderSpace)
      .build();
}

MachOBuilder simpleBuilder() {
  MachOBuilder builder;
  builder.withPages(kPages).withFreeHeaderSpace(kFreeHeaderSpace);
  return builder;
}

/// Fills in what the directory says about the code of an image with `room` bytes for its signature.
CodeDirectory directoryFor(CodeDirectory directory, std::size_t room) {
  const std::string image = simpleBuilder().withSignature(std::string(room, '\0')).build();
  const auto read = [&image](std::uint64_t offset, std::span<char> block) {
    return image.copy(block.data(), block.size(), offset);
  };
  directory.pageSizeLog2 = kPageSizeLog2;
  directory.codeLimit = image.size() - room;
  directory.pageHashes = hashCodePages(read, directory.codeLimit, kPageSizeLog2, {directory.hashType}).front();
  return parseCodeDirectory(buildCodeDirectory(directory));
}

void writeWithSignature(const std::filesystem::path& file, std::string signature, std::size_t room) {
  signature.resize(room, '\0');
  writeFile(file, simpleBuilder().withSignature(std::move(signature)).build());
}

}  // namespace

void makeSignedProgram(const std::filesystem::path& file, const SignedProgramRequest& request) {
  std::vector<std::string> images;
  for (const MachOArchitecture& architecture : request.architectures)
    images.push_back(imageFor(architecture, request.pages));
  const SigningIdentity identity = sharedSigningIdentity().identity();
  MachOSigningRequest signing{.identifier = std::string(kIdentifier),
                              .hashTypes = request.hashTypes,
                              .parts = {{CodeSlot::requirements, requirementsBlob()}},
                              .hasEmbeddedInformation = true,
                              .identity = request.isAdHoc ? nullptr : &identity,
                              .isRuntimeHardened = !request.isAdHoc};
  if (request.hasEntitlements) signing.entitlements = Entitlements::read(kEntitlements);
  writeAndSign(file, images.size() == 1 ? images.front() : buildUniversalFile(images), signing);
}

void makeProgramWithRoom(const std::filesystem::path& file) {
  constexpr std::size_t kRoom = 16384;
  const std::string requirements = requirementsBlob();
  CodeDirectory model;
  model.identifier = kIdentifier;
  model.team = "TEAM123456";
  model.specialHashes[CodeSlot::requirements] = codeHash(model.hashType, requirements);
  const CodeDirectory directory = directoryFor(model, kRoom);
  const std::string message = makeCMSSignature({directory}, sharedSigningIdentity().identity(), kSigningTime);
  writeWithSignature(file,
                     buildEmbeddedSignature({{CodeSlot::codeDirectory, directory.blob},
                                             {CodeSlot::requirements, requirements},
                                             {CodeSlot::signature, message}}),
                     kRoom);
}

void makeLinkedProgram(const std::filesystem::path& file) {
  constexpr std::size_t kRoom = 512;
  constexpr std::uint32_t kDirectoryOffset = 24;
  CodeDirectory model;
  model.identifier = "program";
  model.flags = kCodeDirectoryAdHocFlag | kLinkerSigned;
  const CodeDirectory directory = directoryFor(model, kRoom);
  const auto length = static_cast<std::uint32_t>(kDirectoryOffset + directory.blob.size());
  const auto slot = static_cast<std::uint32_t>(CodeSlot::codeDirectory);
  BlobBuilder signature;
  signature.u32(kSuperBlobMagic).u32(length).u32(1).u32(slot).u32(kDirectoryOffset).u32(0).bytes(directory.blob);
  writeWithSignature(file, signature.blob(), kRoom);
}

void makeOtherProgram(const std::filesystem::path& file) {
  const SigningIdentity identity = sharedSigningIdentity().identity();
  writeAndSign(file, MachOBuilder().build(), {.identifier = "other", .identity = &identity});
}

}  // namespace quillon::testing
