#include "CodeSignature/MachOSigner.h"

#include <algorithm>
#include <utility>

#include "CodeSignature/CMSSignature.h"
#include "CodeSignature/CodePages.h"
#include "CodeSignature/EmbeddedSignature.h"
#include "CodeSignature/FileRange.h"
#include "CodeSignature/FileReplacement.h"
#include "CodeSignature/MachOSignatureSpace.h"
#include "CodeSignature/UniversalHeader.h"
#include "QuillonCore/Values/QuillonError.h"

namespace quillon {
namespace {

constexpr std::uint8_t kPageSizeLog2 = 12;

// Flags of the executable segment (cs_blobs.h).
constexpr std::uint64_t kMainBinary = 0x1;
constexpr std::uint64_t kAllowsUnsignedCode = 0x10;

/// Two signatures with one key can differ by some bytes: those of elliptic curves are pairs of numbers without leading
/// zeros.
constexpr std::size_t kMessageSlack = 64;

constexpr std::uint32_t kPlatformMacOS = 1;
/// 10.11.4, packed as in load commands: the first macOS that reads SHA-256 alone.
constexpr std::uint32_t kFirstMacOSWithSHA256Only = 10 << 16 | 11 << 8 | 4;

/// The hashes of all pages, for each hash type.
using PageHashes = std::map<CodeHashType, std::string>;

CodeSlot directorySlot(std::size_t index) {
  if (index == 0) return CodeSlot::codeDirectory;
  return static_cast<CodeSlot>(static_cast<std::uint32_t>(CodeSlot::alternateCodeDirectory) + index - 1);
}

std::string readStart(const FileDescriptor& file, const MachOSlice& slice) {
  const std::uint64_t length = slice.image.commandsEnd + MachOSignatureSpace::kCommandLength;
  return readFileRange(file, slice.offset, std::min(length, slice.length));
}

/// Copies one image and signs the copy. What is hashed is what has been written, whoever may be changing the original.
class ImageSigning {
 public:
  ImageSigning(const MachOSlice& slice, const FileDescriptor& file, const FileDescriptor& output,
               std::uint64_t outputOffset, const MachOSigningRequest& request)
      : slice_(slice),
        image_(slice.image),
        file_(file),
        output_(output),
        start_(outputOffset),
        request_(request),
        space_(image_, readStart(file, slice), slice.length) {}

  /// Returns the length of the signed image.
  std::uint64_t run(MachOImageSignature& result) {
    copyFileRange(file_, slice_.offset, space_.contentEnd(), output_, start_);
    setFileLength(output_, start_ + space_.codeLimit());
    collectParts();

    // The header names the length of the signature and is hashed itself, so that length is needed first.
    const std::uint64_t extent = MachOSignatureSpace::extentOf(lengthOfSignature());
    writeFileRange(output_, start_, space_.headerFor(extent));

    result.architecture = slice_.architecture();
    result.directories = makeDirectories(hashOutput(0, space_.codeLimit(), kPageSizeLog2));
    const std::string signature = embed(result.directories, makeMessage(result.directories));
    if (signature.size() > extent) throw QuillonError("The signature has outgrown the space that was kept for it");
    writeFileRange(output_, start_ + space_.codeLimit(), signature);
    const std::uint64_t length = space_.codeLimit() + extent;
    setFileLength(output_, start_ + length);
    return length;
  }

 private:
  void collectParts() {
    for (const auto& [slot, part] : request_.parts) addPart(slot, part);
    if (request_.hasEmbeddedInformation) hashEmbeddedInformation();
    if (request_.entitlements) {
      addPart(CodeSlot::entitlements, request_.entitlements->propertyListBlob());
      addPart(CodeSlot::entitlementsDER, request_.entitlements->derBlob());
    }
  }

  void addPart(CodeSlot slot, const std::string& part) {
    for (const CodeHashType type : request_.hashTypes) specialHashes_[type][slot] = codeHash(type, part);
    if (slot != CodeSlot::infoPropertyList && slot != CodeSlot::resources) embedded_[slot] = part;
  }

  void hashEmbeddedInformation() {
    const MachOSection* section = image_.findSection("__TEXT", "__info_plist");
    if (section == nullptr) return;
    if (section->fileOffset > space_.contentEnd() || section->length > space_.contentEnd() - section->fileOffset) {
      throw MachOSpaceError("The image cannot be signed: its __info_plist section reaches into its signature");
    }
    for (const auto& [type, hash] : hashOutput(section->fileOffset, section->length, 0)) {
      specialHashes_[type][CodeSlot::infoPropertyList] = hash.empty() ? codeHash(type, {}) : hash;
    }
  }

  /// Hashes pages of what has been written of the image so far.
  [[nodiscard]] PageHashes hashOutput(std::uint64_t begin, std::uint64_t length, std::uint8_t pageSizeLog2) const {
    const auto read = [this, begin](std::uint64_t offset, std::span<char> block) {
      return readFileAt(output_, start_ + begin + offset, block);
    };
    const std::vector<CodeHashType> types(request_.hashTypes.begin(), request_.hashTypes.end());
    std::vector<std::string> hashes = hashCodePages(read, length, pageSizeLog2, types);
    PageHashes result;
    for (std::size_t i = 0; i < types.size(); ++i) result.emplace(types[i], std::move(hashes[i]));
    return result;
  }

  [[nodiscard]] std::uint64_t executableSegmentFlags() const {
    if (!image_.isExecutable()) return 0;
    const bool isDebuggable = request_.entitlements && request_.entitlements->grants("get-task-allow");
    return kMainBinary | (isDebuggable ? kAllowsUnsignedCode : 0);
  }

  [[nodiscard]] CodeDirectory makeDirectory(CodeHashType type, const std::string& pageHashes) const {
    CodeDirectory directory;
    directory.flags = request_.flags;
    if (request_.identity == nullptr) directory.flags |= kCodeDirectoryAdHocFlag;
    if (request_.isRuntimeHardened) {
      directory.flags |= kCodeDirectoryRuntimeFlag;
      directory.runtimeVersion = image_.version ? image_.version->sdk : 0;
    }
    directory.hashType = type;
    directory.pageSizeLog2 = kPageSizeLog2;
    directory.codeLimit = space_.codeLimit();
    if (const MachOSegment* text = image_.findSegment("__TEXT")) {
      directory.executableSegmentBase = text->fileOffset;
      directory.executableSegmentLimit = text->fileLength;
    }
    directory.executableSegmentFlags = executableSegmentFlags();
    directory.identifier = request_.identifier;
    if (request_.identity != nullptr) directory.team = request_.identity->team();
    if (const auto found = specialHashes_.find(type); found != specialHashes_.end()) {
      directory.specialHashes = found->second;
    }
    directory.pageHashes = pageHashes;
    return parseCodeDirectory(buildCodeDirectory(directory));
  }

  [[nodiscard]] std::vector<CodeDirectory> makeDirectories(const PageHashes& pageHashes) const {
    std::vector<CodeDirectory> directories;
    for (const auto& [type, hashes] : pageHashes) directories.push_back(makeDirectory(type, hashes));
    return directories;
  }

  /// Empty for ad-hoc signatures.
  [[nodiscard]] std::string makeMessage(const std::vector<CodeDirectory>& directories) const {
    if (request_.identity == nullptr) return {};
    return makeCMSSignature(directories, *request_.identity, request_.signingTime);
  }

  [[nodiscard]] std::string embed(const std::vector<CodeDirectory>& directories, std::string message) const {
    std::map<CodeSlot, std::string> parts = embedded_;
    for (std::size_t i = 0; i < directories.size(); ++i) parts[directorySlot(i)] = directories[i].blob;
    parts[CodeSlot::signature] = std::move(message);
    return buildEmbeddedSignature(parts);
  }

  /// Signs once with hashes that mean nothing: nothing but those will differ.
  [[nodiscard]] std::uint64_t lengthOfSignature() const {
    PageHashes hashes;
    const std::uint64_t pages = ((space_.codeLimit() - 1) >> kPageSizeLog2) + 1;
    for (const CodeHashType type : request_.hashTypes) hashes[type].assign(pages * codeHashSize(type), '\0');
    const std::vector<CodeDirectory> directories = makeDirectories(hashes);
    const std::uint64_t slack = request_.identity == nullptr ? 0 : kMessageSlack;
    return embed(directories, makeMessage(directories)).size() + slack;
  }

  const MachOSlice& slice_;
  const MachOImage& image_;
  const FileDescriptor& file_;
  const FileDescriptor& output_;
  std::uint64_t start_;
  const MachOSigningRequest& request_;
  MachOSignatureSpace space_;
  std::map<CodeSlot, std::string> embedded_;
  std::map<CodeHashType, std::map<CodeSlot, std::string>> specialHashes_;
};

void checkRequest(const MachOSigningRequest& request) {
  if (request.identifier.empty()) throw QuillonError("The code has no identifier");
  if (request.identifier.find('\0') != std::string::npos) throw QuillonError("The identifier holds a NUL character");
  if (request.hashTypes.empty()) throw QuillonError("No hash algorithm is asked for");
}

bool needsSHA1(const MachOSlice& slice) {
  const auto& version = slice.image.version;
  if (!version) return true;
  return version->platform == kPlatformMacOS && version->minimum < kFirstMacOSWithSHA256Only;
}

}  // namespace

std::vector<MachOImageSignature> writeSignedMachOFile(const MachOFile& object, const FileDescriptor& file,
                                                      const FileDescriptor& output,
                                                      const MachOSigningRequest& request) {
  checkRequest(request);
  std::vector<MachOImageSignature> signatures(object.slices.size());
  if (!object.isUniversal) {
    ImageSigning(object.slices.front(), file, output, 0, request).run(signatures.front());
    return signatures;
  }
  std::uint64_t end = universalHeaderLength(object.slices.size());
  const std::string header = readFileRange(file, 0, end);
  std::vector<UniversalHeaderEntry> entries;
  for (std::size_t i = 0; i < object.slices.size(); ++i) {
    UniversalHeaderEntry entry = readUniversalHeaderEntry(header, i);
    // Some tools state less than systems need, and put the images at whole pages nevertheless.
    entry.alignment = std::max(entry.alignment, memoryPageSizeLog2(entry.cpuType));
    entry.offset = universalImageOffset(end, entry.alignment);
    entry.length = ImageSigning(object.slices[i], file, output, entry.offset, request).run(signatures[i]);
    end = entry.offset + entry.length;
    entries.push_back(entry);
  }
  writeFileRange(output, 0, buildUniversalHeader(entries));
  return signatures;
}

std::vector<MachOImageSignature> signMachOFile(const FileDescriptor& folder, const std::string& name,
                                               const MachOSigningRequest& request) {
  const FileDescriptor file = openRegularFile(folder.get(), name);
  FileReplacement replacement(folder, name);
  auto signatures = writeSignedMachOFile(readMachOFile(file), file, replacement.file(), request);
  replacement.install(file);
  replacement.keep();
  return signatures;
}

std::set<CodeHashType> hashTypesForMachO(const MachOFile& object) {
  if (std::ranges::any_of(object.slices, needsSHA1)) return {CodeHashType::sha1, CodeHashType::sha256};
  return {CodeHashType::sha256};
}

std::string uniqueMachOIdentifier(const std::string& baseName, const MachOFile& object) {
  const std::optional<std::string>& uuid = object.slices.front().image.uuid;
  return uuid ? baseName + "-" + hexadecimal("UUID" + *uuid) : baseName;
}

}  // namespace quillon
