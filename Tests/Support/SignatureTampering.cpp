#include "Support/SignatureTampering.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "CodeSignature/BlobBuilder.h"
#include "CodeSignature/BlobReader.h"
#include "CodeSignature/CMSSignature.h"
#include "CodeSignature/CodePages.h"
#include "CodeSignature/EmbeddedSignature.h"
#include "CodeSignature/FileOpening.h"
#include "QuillonCore/Values/QuillonError.h"
#include "Support/TemporaryDirectory.h"

namespace quillon::testing {
namespace {

using enum CodeSignatureErrorCode;
using namespace std::string_view_literals;

// Offsets in a code directory (cs_blobs.h).
constexpr std::uint64_t kVersion = 8;
constexpr std::uint64_t kFlags = 12;
constexpr std::uint64_t kHashOffset = 16;
constexpr std::uint64_t kIdentifierOffset = 20;
constexpr std::uint64_t kCodeSlotCount = 28;
constexpr std::uint64_t kCodeLimit = 32;
constexpr std::uint64_t kPageSize = 39;
constexpr std::uint64_t kTeamOffset = 48;
constexpr std::uint32_t kUnknownVersion = 0x30000;

// Offsets in a super blob.
constexpr std::uint64_t kSuperBlobLength = 4;
constexpr std::uint64_t kSuperBlobCount = 8;
constexpr std::uint64_t kFirstIndexEntry = 12;
constexpr std::uint64_t kIndexEntrySize = 8;
constexpr std::uint64_t kBlobHeaderSize = 8;

// Offsets in the universal header, and in an entry of it.
constexpr std::uint64_t kFirstEntry = 8;
constexpr std::uint64_t kEntrySize = 20;
constexpr std::uint64_t kEntryOffset = 8;

// Load commands (mach-o/loader.h).
constexpr std::uint32_t kCodeSignatureCommand = 0x1D;
constexpr std::uint32_t kUUIDCommand = 0x1B;
constexpr std::uint64_t kHeaderFlags = 24;
constexpr std::uint64_t kSegmentFileLength = 48;

constexpr std::uint32_t kEntitlementsMagic = 0xFADE7171;
constexpr auto kUnknownSlot = static_cast<CodeSlot>(0x20000);
constexpr auto kSecondAlternate = static_cast<CodeSlot>(0x1001);

// Object identifiers, DER content bytes.
constexpr std::string_view kMessageDigest = "\x2A\x86\x48\x86\xF7\x0D\x01\x09\x04"sv;
constexpr std::string_view kSigningTime = "\x2A\x86\x48\x86\xF7\x0D\x01\x09\x05"sv;
constexpr std::string_view kListedHashes = "\x2A\x86\x48\x86\xF7\x63\x64\x09\x01"sv;
constexpr std::string_view kTypedHashes = "\x2A\x86\x48\x86\xF7\x63\x64\x09\x02"sv;

using Outcome = std::optional<Refusal>;

constexpr Refusal kModified{signatureFailed};
constexpr Refusal kBadFormat{signatureInvalid};
constexpr Refusal kBadObject{badObjectFormat, false};
constexpr Refusal kBadLayout{mainExecutableInvalid, false, true};

// --- Code ---

Outcome flipFirstInstruction(TamperedProgram& program) {
  const MachOSection* text = program.slice().image.findSection("__TEXT", "__text");
  if (text == nullptr) return std::nullopt;
  program.flip(program.slice().offset + text->fileOffset);
  return kModified;
}

Outcome flipMiddleOfCode(TamperedProgram& program) {
  program.flip(program.slice().offset + program.code().size() / 2);
  return kModified;
}

Outcome flipHeaderFlags(TamperedProgram& program) {
  program.flip(program.slice().offset + kHeaderFlags);
  return kModified;
}

Outcome flipFreeSpaceBehindCommands(TamperedProgram& program) {
  program.flip(program.slice().offset + program.slice().image.commandsEnd);
  return kModified;
}

Outcome flipLinkEditBeforeSignature(TamperedProgram& program) {
  program.flip(program.signatureBegin() - 1);
  return kModified;
}

// --- Layout of the file ---

Outcome truncateByOneByte(TamperedProgram& program) {
  program.truncate(program.length() - 1);
  return kBadObject;
}

Outcome truncateToHalf(TamperedProgram& program) {
  program.truncate(program.length() / 2);
  return kBadObject;
}

Outcome appendData(TamperedProgram& program) {
  program.append("0123456789ABCDEF");
  return kBadLayout;
}

Outcome removeSignatureCommand(TamperedProgram& program) {
  program.setLittleEndian(program.slice().offset + program.slice().image.signature->commandOffset, 0x7FFF);
  return Refusal{unsignedCode};
}

/// Two commands name a signature; two readers could take different ones.
Outcome repeatSignatureCommand(TamperedProgram& program) {
  const MachOImage& image = program.slice().image;
  std::uint64_t command = program.slice().offset + image.commandsOffset;
  for (std::uint32_t i = 0; i < image.commandCount; ++i) {
    if (program.littleEndian(command) == kUUIDCommand) {
      program.setLittleEndian(command, kCodeSignatureCommand);
      return kBadObject;
    }
    command += program.littleEndian(command + 4);
  }
  return std::nullopt;
}

Outcome moveSignatureBeyondImage(TamperedProgram& program) {
  const std::uint64_t command = program.slice().offset + program.slice().image.signature->commandOffset;
  program.setLittleEndian(command + 8, program.littleEndian(command + 8) + 16);
  return kBadObject;
}

Outcome shortenLinkEdit(TamperedProgram& program) {
  const MachOSegment* linkEdit = program.slice().image.findSegment("__LINKEDIT");
  if (linkEdit == nullptr || !program.slice().image.is64Bit) return std::nullopt;
  const std::uint64_t place = program.slice().offset + linkEdit->commandOffset + kSegmentFileLength;
  program.setLittleEndian(place, program.littleEndian(place) - 16);
  return kModified;
}

// --- Universal files ---

bool isUniversal(const TamperedProgram& program) {
  return program.object().slices.size() > 1;
}

/// Universal headers list the slices in the order of `MachOFile::slices`.
std::uint64_t entryOf(std::uint64_t index) {
  return kFirstEntry + index * kEntrySize;
}

Outcome overlapSlices(TamperedProgram& program) {
  if (!isUniversal(program)) return std::nullopt;
  program.setBigEndian(entryOf(1) + kEntryOffset, static_cast<std::uint32_t>(program.object().slices[0].end() - 4096));
  return kBadObject;
}

Outcome swapArchitectures(TamperedProgram& program) {
  if (!isUniversal(program)) return std::nullopt;
  for (const std::uint64_t field : {0U, 4U}) {
    const std::uint32_t first = program.bigEndian(entryOf(0) + field);
    program.setBigEndian(entryOf(0) + field, program.bigEndian(entryOf(1) + field));
    program.setBigEndian(entryOf(1) + field, first);
  }
  return kBadObject;
}

Outcome repeatArchitecture(TamperedProgram& program) {
  if (!isUniversal(program)) return std::nullopt;
  program.setBigEndian(entryOf(1), program.bigEndian(entryOf(0)));
  program.setBigEndian(entryOf(1) + 4, program.bigEndian(entryOf(0) + 4));
  return kBadObject;
}

Outcome hideDataInGap(TamperedProgram& program) {
  if (!isUniversal(program)) return std::nullopt;
  program.flip(program.object().slices[0].offset - 1);
  return kBadLayout;
}

Outcome dropArchitecture(TamperedProgram& program) {
  // An uncounted entry for 64-bit ARM would still be taken.
  if (!isUniversal(program) || program.object().slices.back().architecture().starts_with("arm64")) return std::nullopt;
  program.setBigEndian(4, static_cast<std::uint32_t>(program.object().slices.size() - 1));
  return kBadLayout;
}

Outcome tamperWithUncountedArchitecture(TamperedProgram& program) {
  const bool isLast = &program.slice() == &program.object().slices.back();
  if (!isUniversal(program) || !isLast || !program.slice().architecture().starts_with("arm64")) return std::nullopt;
  program.setBigEndian(4, static_cast<std::uint32_t>(program.object().slices.size() - 1));
  return flipMiddleOfCode(program);
}

Outcome useSignatureOfOtherSlice(TamperedProgram& program) {
  if (!program.replaceSignature(program.signatureOfOtherSlice())) return std::nullopt;
  return kModified;
}

// --- Index of the signature ---

Outcome damageSuperBlobMagic(TamperedProgram& program) {
  program.flip(program.signatureBegin());
  return kBadFormat;
}

Outcome growSuperBlob(TamperedProgram& program) {
  const auto room = static_cast<std::uint32_t>(program.signatureEnd() - program.signatureBegin());
  program.setBigEndian(program.signatureBegin() + kSuperBlobLength, room + 1);
  return kBadFormat;
}

Outcome growIndex(TamperedProgram& program) {
  program.setBigEndian(program.signatureBegin() + kSuperBlobCount, 0xFFFFFFFF);
  return kBadFormat;
}

Outcome swapIndexEntries(TamperedProgram& program) {
  if (program.parts().size() < 2) return std::nullopt;
  const std::uint64_t first = program.signatureBegin() + kFirstIndexEntry + 4;
  const std::uint32_t offset = program.bigEndian(first);
  program.setBigEndian(first, program.bigEndian(first + kIndexEntrySize));
  program.setBigEndian(first + kIndexEntrySize, offset);
  return kModified;
}

Outcome repeatIndexEntry(TamperedProgram& program) {
  if (program.parts().size() < 2) return std::nullopt;
  const std::uint64_t second = program.signatureBegin() + kFirstIndexEntry + kIndexEntrySize;
  program.setBigEndian(second, static_cast<std::uint32_t>(CodeSlot::codeDirectory));
  return kBadFormat;
}

Outcome shareBlob(TamperedProgram& program) {
  if (program.parts().size() < 2) return std::nullopt;
  const std::uint64_t first = program.signatureBegin() + kFirstIndexEntry + 4;
  program.setBigEndian(first + kIndexEntrySize, program.bigEndian(first));
  return kBadFormat;
}

Outcome hideDataInPadding(TamperedProgram& program) {
  const std::uint64_t length = program.bigEndian(program.signatureBegin() + kSuperBlobLength);
  if (program.signatureBegin() + length == program.signatureEnd()) return std::nullopt;
  program.flip(program.signatureEnd() - 1);
  return kBadFormat;
}

/// Some linkers align the first blob, which leaves four bytes behind the index.
Outcome hideDataBetweenBlobs(TamperedProgram& program) {
  const std::uint64_t indexEnd = kFirstIndexEntry + program.parts().size() * kIndexEntrySize;
  if (program.begin(CodeSlot::codeDirectory) == program.signatureBegin() + indexEnd) return std::nullopt;
  program.flip(program.signatureBegin() + indexEnd);
  return kBadFormat;
}

Outcome addUnknownPart(TamperedProgram& program) {
  std::map<CodeSlot, std::string> parts = program.parts();
  parts[kUnknownSlot] = "hidden";
  if (!program.replaceParts(parts)) return std::nullopt;
  return kModified;
}

// --- Parts that the directory seals ---

Outcome flipSealedPart(TamperedProgram& program, CodeSlot slot) {
  if (!program.has(slot)) return std::nullopt;
  program.flip(program.begin(slot) + program.parts().at(slot).size() - 1);
  return kModified;
}

Outcome flipRequirements(TamperedProgram& program) {
  return flipSealedPart(program, CodeSlot::requirements);
}
Outcome flipEntitlements(TamperedProgram& program) {
  return flipSealedPart(program, CodeSlot::entitlements);
}
Outcome flipEntitlementsDER(TamperedProgram& program) {
  return flipSealedPart(program, CodeSlot::entitlementsDER);
}

Outcome removeSealedPart(TamperedProgram& program, CodeSlot slot) {
  std::map<CodeSlot, std::string> parts = program.parts();
  if (parts.erase(slot) == 0 || !program.replaceParts(parts)) return std::nullopt;
  return kModified;
}

Outcome removeRequirements(TamperedProgram& program) {
  return removeSealedPart(program, CodeSlot::requirements);
}
Outcome removeEntitlements(TamperedProgram& program) {
  return removeSealedPart(program, CodeSlot::entitlements);
}
Outcome removeEntitlementsDER(TamperedProgram& program) {
  return removeSealedPart(program, CodeSlot::entitlementsDER);
}

Outcome addUnsealedEntitlements(TamperedProgram& program) {
  if (program.has(CodeSlot::entitlements)) return std::nullopt;
  static constexpr std::string_view kList = "<plist version=\"1.0\"><dict/></plist>";
  std::map<CodeSlot, std::string> parts = program.parts();
  parts[CodeSlot::entitlements] =
      BlobBuilder().u32(kEntitlementsMagic).u32(kBlobHeaderSize + kList.size()).bytes(kList).blob();
  if (!program.replaceParts(parts)) return std::nullopt;
  return kModified;
}

// --- Code directories ---

std::vector<CodeSlot> directorySlots(const TamperedProgram& program) {
  std::vector<CodeSlot> slots{CodeSlot::codeDirectory};
  if (program.has(CodeSlot::alternateCodeDirectory)) slots.push_back(CodeSlot::alternateCodeDirectory);
  return slots;
}

void flipInDirectory(TamperedProgram& program, CodeSlot slot, std::uint64_t offset) {
  program.flip(program.begin(slot) + offset);
}

Outcome flipCodeHash(TamperedProgram& program, CodeSlot slot) {
  if (!program.has(slot)) return std::nullopt;
  flipInDirectory(program, slot, program.parts().at(slot).size() - 1);
  return kModified;
}

Outcome flipCodeHashOfFirstDirectory(TamperedProgram& program) {
  return flipCodeHash(program, CodeSlot::codeDirectory);
}
Outcome flipCodeHashOfAlternateDirectory(TamperedProgram& program) {
  return flipCodeHash(program, CodeSlot::alternateCodeDirectory);
}

Outcome flipSpecialHash(TamperedProgram& program, CodeSlot slot) {
  if (!program.has(slot)) return std::nullopt;
  const CodeDirectory directory = program.directory(slot);
  if (!directory.specialHashes.contains(CodeSlot::requirements)) return std::nullopt;
  const std::uint64_t hashes = BlobReader(directory.blob).u32(kHashOffset).value();
  flipInDirectory(program, slot, hashes - 2 * codeHashSize(directory.hashType));
  return kModified;
}

Outcome flipSpecialHashOfFirstDirectory(TamperedProgram& program) {
  return flipSpecialHash(program, CodeSlot::codeDirectory);
}
Outcome flipSpecialHashOfAlternateDirectory(TamperedProgram& program) {
  return flipSpecialHash(program, CodeSlot::alternateCodeDirectory);
}

/// Changes what a field of every directory leads to. Whoever signs ad hoc vouches for nothing in it.
Outcome editTextOfAllDirectories(TamperedProgram& program, std::uint64_t field) {
  if (program.isAdHoc()) return std::nullopt;
  for (const CodeSlot slot : directorySlots(program)) {
    flipInDirectory(program, slot, BlobReader(program.parts().at(slot)).u32(field).value());
  }
  return kModified;
}

Outcome editIdentifier(TamperedProgram& program) {
  return editTextOfAllDirectories(program, kIdentifierOffset);
}

Outcome editTeam(TamperedProgram& program) {
  if (program.directory(CodeSlot::codeDirectory).team.empty()) return std::nullopt;
  return editTextOfAllDirectories(program, kTeamOffset);
}

Outcome editTeamOfBestDirectoryOnly(TamperedProgram& program) {
  if (!program.has(CodeSlot::alternateCodeDirectory) || program.directory(CodeSlot::codeDirectory).team.empty()) {
    return std::nullopt;
  }
  const std::string& blob = program.parts().at(CodeSlot::alternateCodeDirectory);
  flipInDirectory(program, CodeSlot::alternateCodeDirectory, BlobReader(blob).u32(kTeamOffset).value());
  return kBadFormat;
}

Outcome setFlag(TamperedProgram& program, std::uint32_t bits) {
  for (const CodeSlot slot : directorySlots(program)) {
    const std::uint64_t place = program.begin(slot) + kFlags;
    program.setBigEndian(place, program.bigEndian(place) ^ bits);
  }
  return kModified;
}

Outcome toggleHardenedRuntime(TamperedProgram& program) {
  if (program.isAdHoc()) return std::nullopt;
  return setFlag(program, 0x10000);
}

Outcome claimToBeAdHoc(TamperedProgram& program) {
  if (program.isAdHoc()) return std::nullopt;
  return setFlag(program, kCodeDirectoryAdHocFlag);
}

Outcome claimToBeSigned(TamperedProgram& program) {
  if (!program.isAdHoc()) return std::nullopt;
  setFlag(program, kCodeDirectoryAdHocFlag);
  return Refusal{unsignedCode};
}

Outcome useUnknownVersion(TamperedProgram& program) {
  program.setBigEndian(program.begin(CodeSlot::codeDirectory) + kVersion, kUnknownVersion);
  return Refusal{signatureUnsupported};
}

Outcome useOtherVersion(TamperedProgram& program) {
  if (program.isAdHoc()) return std::nullopt;
  program.flip(program.begin(CodeSlot::codeDirectory) + kVersion + 3);
  return kModified;
}

Outcome raiseCodeLimit(TamperedProgram& program) {
  for (const CodeSlot slot : directorySlots(program)) {
    const std::uint64_t place = program.begin(slot) + kCodeLimit;
    program.setBigEndian(place, program.bigEndian(place) + (1U << program.directory(slot).pageSizeLog2));
  }
  return kModified;
}

Outcome raiseCodeSlotCount(TamperedProgram& program) {
  program.setBigEndian(program.begin(CodeSlot::codeDirectory) + kCodeSlotCount, 0xFFFFFFFF);
  return kModified;
}

Outcome usePagesOfAnotherSize(TamperedProgram& program) {
  program.flip(program.begin(CodeSlot::codeDirectory) + kPageSize);
  return kModified;
}

Outcome moveHashesBeyondDirectory(TamperedProgram& program) {
  const std::uint64_t place = program.begin(CodeSlot::codeDirectory) + kHashOffset;
  program.setBigEndian(place, program.bigEndian(place) + 1);
  return kModified;
}

/// Leaves the last page out of what is covered, which an ad-hoc signature can be made to say.
Outcome coverLessCode(TamperedProgram& program) {
  if (!program.isAdHoc() || program.has(CodeSlot::alternateCodeDirectory)) return std::nullopt;
  CodeDirectory directory = program.directory(CodeSlot::codeDirectory);
  if (directory.pageCount() < 2) return std::nullopt;
  directory.codeLimit = (directory.pageCount() - 1) << directory.pageSizeLog2;
  directory.pageHashes.resize(directory.pageHashes.size() - codeHashSize(directory.hashType));
  std::map<CodeSlot, std::string> parts = program.parts();
  parts[CodeSlot::codeDirectory] = buildCodeDirectory(directory);
  if (!program.replaceParts(parts)) return std::nullopt;
  return kBadFormat;
}

// --- Several directories, and directories of others ---

/// The directory that `model` would be with another algorithm.
CodeDirectory withOtherAlgorithm(const TamperedProgram& program, const CodeDirectory& model, CodeHashType type) {
  CodeDirectory directory = model;
  directory.hashType = type;
  const std::string_view code = program.code();
  const auto read = [code](std::uint64_t offset, std::span<char> block) -> std::size_t {
    return code.substr(std::min<std::uint64_t>(offset, code.size())).copy(block.data(), block.size());
  };
  directory.pageHashes = hashCodePages(read, directory.codeLimit, directory.pageSizeLog2, {type}).front();
  for (auto& [slot, hash] : directory.specialHashes) {
    // What is not in the signature keeps the old hash, cut or filled up: it is refused before that matters.
    hash = program.has(slot) ? codeHash(type, program.parts().at(slot)) : hash;
    hash.resize(codeHashSize(type), '\x01');
  }
  return directory;
}

CodeHashType otherType(const TamperedProgram& program) {
  const bool isSHA1 = program.directory(CodeSlot::codeDirectory).hashType == CodeHashType::sha1;
  return isSHA1 ? CodeHashType::sha256 : CodeHashType::sha1;
}

/// An old signature that names no directories could else be given one more that seals other things.
Outcome addDirectoryOfAnotherAlgorithm(TamperedProgram& program) {
  if (program.isAdHoc() || program.has(CodeSlot::alternateCodeDirectory)) return std::nullopt;
  std::map<CodeSlot, std::string> parts = program.parts();
  parts[CodeSlot::alternateCodeDirectory] =
      buildCodeDirectory(withOtherAlgorithm(program, program.directory(CodeSlot::codeDirectory), otherType(program)));
  if (!program.replaceParts(parts)) return std::nullopt;
  return kModified;
}

Outcome addDirectoryBehindAGap(TamperedProgram& program) {
  if (program.has(CodeSlot::alternateCodeDirectory)) return std::nullopt;
  std::map<CodeSlot, std::string> parts = program.parts();
  parts[kSecondAlternate] =
      buildCodeDirectory(withOtherAlgorithm(program, program.directory(CodeSlot::codeDirectory), otherType(program)));
  if (!program.replaceParts(parts)) return std::nullopt;
  return kBadFormat;
}

Outcome repeatDirectory(TamperedProgram& program) {
  if (program.has(CodeSlot::alternateCodeDirectory)) return std::nullopt;
  std::map<CodeSlot, std::string> parts = program.parts();
  parts[CodeSlot::alternateCodeDirectory] = parts.at(CodeSlot::codeDirectory);
  if (!program.replaceParts(parts)) return std::nullopt;
  return kBadFormat;
}

Outcome useWeakerDirectory(TamperedProgram& program) {
  if (program.isAdHoc() || program.has(CodeSlot::alternateCodeDirectory)) return std::nullopt;
  const CodeDirectory directory = program.directory(CodeSlot::codeDirectory);
  if (directory.hashType == CodeHashType::sha1) return std::nullopt;
  std::map<CodeSlot, std::string> parts = program.parts();
  parts[CodeSlot::codeDirectory] = buildCodeDirectory(withOtherAlgorithm(program, directory, CodeHashType::sha1));
  if (!program.replaceParts(parts)) return std::nullopt;
  return kModified;
}

Outcome removeAlternateDirectory(TamperedProgram& program) {
  if (program.isAdHoc()) return std::nullopt;
  return removeSealedPart(program, CodeSlot::alternateCodeDirectory);
}

Outcome keepAlternateDirectoryOnly(TamperedProgram& program) {
  if (program.isAdHoc() || !program.has(CodeSlot::alternateCodeDirectory)) return std::nullopt;
  std::map<CodeSlot, std::string> parts = program.parts();
  parts[CodeSlot::codeDirectory] = parts.at(CodeSlot::alternateCodeDirectory);
  parts.erase(CodeSlot::alternateCodeDirectory);
  if (!program.replaceParts(parts)) return std::nullopt;
  return kModified;
}

Outcome useForeignSignature(TamperedProgram& program) {
  if (!program.replaceSignature(program.foreignSignature())) return std::nullopt;
  // The other program is in no bundle and seals no resources, which is asked before the pages.
  const bool isInBundle = program.directory(CodeSlot::codeDirectory).specialHashes.contains(CodeSlot::resources);
  return isInBundle ? Refusal{resourcesNotFound} : kModified;
}

Outcome useForeignDirectory(TamperedProgram& program) {
  const EmbeddedSignature foreign = EmbeddedSignature::parse(std::string(program.foreignSignature()));
  std::map<CodeSlot, std::string> parts = program.parts();
  parts[CodeSlot::codeDirectory] = foreign.part(CodeSlot::codeDirectory).value();
  if (!program.replaceParts(parts)) return std::nullopt;
  // The other directory is no ad-hoc one, and an ad-hoc signature has no message that could be wrong.
  if (program.isAdHoc()) return Refusal{unsignedCode};
  return program.has(CodeSlot::alternateCodeDirectory) ? kBadFormat : kModified;
}

Outcome useForeignMessage(TamperedProgram& program) {
  const EmbeddedSignature foreign = EmbeddedSignature::parse(std::string(program.foreignSignature()));
  std::map<CodeSlot, std::string> parts = program.parts();
  parts[CodeSlot::signature] = foreign.part(CodeSlot::signature).value();
  if (!program.replaceParts(parts)) return std::nullopt;
  return kModified;
}

// --- The message ---

std::optional<CMSSignature> messageOf(const TamperedProgram& program) {
  if (program.isAdHoc()) return std::nullopt;
  return verifyCMSSignature(program.parts().at(CodeSlot::signature), program.parts().at(CodeSlot::codeDirectory));
}

/// Place of `bytes` in the message, behind the last `marker` if there is one.
std::optional<std::uint64_t> placeInMessage(const TamperedProgram& program, std::string_view bytes,
                                            std::string_view marker = {}) {
  if (program.isAdHoc()) return std::nullopt;
  const std::string& message = program.parts().at(CodeSlot::signature);
  const std::size_t from = marker.empty() ? 0 : message.rfind(marker);
  const std::size_t found = from == std::string::npos ? from : message.find(bytes, from);
  if (found == std::string::npos) return std::nullopt;
  return program.begin(CodeSlot::signature) + found;
}

Outcome flipIn(TamperedProgram& program, const std::optional<std::uint64_t>& place, std::uint64_t offset,
               Refusal refusal = kModified) {
  if (!place) return std::nullopt;
  program.flip(*place + offset);
  return refusal;
}

Outcome removeMessage(TamperedProgram& program) {
  if (program.isAdHoc()) return std::nullopt;
  std::map<CodeSlot, std::string> parts = program.parts();
  parts.erase(CodeSlot::signature);
  if (!program.replaceParts(parts)) return std::nullopt;
  return Refusal{unsignedCode};
}

Outcome emptyMessage(TamperedProgram& program) {
  if (program.isAdHoc()) return std::nullopt;
  std::map<CodeSlot, std::string> parts = program.parts();
  parts.at(CodeSlot::signature).clear();
  if (!program.replaceParts(parts)) return std::nullopt;
  return Refusal{unsignedCode};
}

Outcome extendMessage(TamperedProgram& program) {
  if (program.isAdHoc()) return std::nullopt;
  std::map<CodeSlot, std::string> parts = program.parts();
  parts.at(CodeSlot::signature) += '\0';
  if (!program.replaceParts(parts)) return std::nullopt;
  return kModified;
}

Outcome flipMessageDigest(TamperedProgram& program) {
  // An object identifier, then the set with the value.
  return flipIn(program, placeInMessage(program, kMessageDigest), kMessageDigest.size() + 8);
}

Outcome flipSigningTime(TamperedProgram& program) {
  // Of YYMMDDhhmmssZ the last second, which gives another valid time.
  return flipIn(program, placeInMessage(program, kSigningTime), kSigningTime.size() + 4 + 11);
}

Outcome flipListedHash(TamperedProgram& program) {
  const auto attribute = placeInMessage(program, "<data>", kListedHashes);
  return flipIn(program, attribute, "<data>"sv.size() + 4);
}

Outcome flipTypedHash(TamperedProgram& program) {
  if (program.isAdHoc()) return std::nullopt;
  const std::string hash = program.directory(CodeSlot::codeDirectory).fullHash();
  return flipIn(program, placeInMessage(program, hash, kTypedHashes), 0);
}

Outcome flipSignatureValue(TamperedProgram& program) {
  const auto message = messageOf(program);
  if (!message) return std::nullopt;
  return flipIn(program, placeInMessage(program, message->signatureValue), 40);
}

Outcome flipSignerKey(TamperedProgram& program) {
  const auto message = messageOf(program);
  if (!message) return std::nullopt;
  // Where the key stands in a certificate depends on names and extensions; its algorithm stands right before it.
  static constexpr std::string_view kRSA = "\x2A\x86\x48\x86\xF7\x0D\x01\x01\x01"sv;
  static constexpr std::string_view kEllipticCurve = "\x2A\x86\x48\xCE\x3D\x02\x01"sv;
  for (const std::string_view algorithm : {kRSA, kEllipticCurve}) {
    const std::size_t key = message->signer.find(algorithm);
    if (key != std::string::npos) return flipIn(program, placeInMessage(program, message->signer), key + 60);
  }
  return std::nullopt;
}

/// The end of a certificate is the signature that its issuer made.
Outcome flipEndOfCertificate(TamperedProgram& program, bool isSigner) {
  const auto message = messageOf(program);
  if (!message) return std::nullopt;
  for (const std::string& certificate : message->certificates) {
    if ((certificate == message->signer) != isSigner) continue;
    return flipIn(program, placeInMessage(program, certificate), certificate.size() - 1, Refusal{notTrusted});
  }
  return std::nullopt;
}

Outcome flipSignatureOfSignerCertificate(TamperedProgram& program) {
  return flipEndOfCertificate(program, true);
}
Outcome flipSignatureOfIssuerCertificate(TamperedProgram& program) {
  return flipEndOfCertificate(program, false);
}

Outcome flipTimestamp(TamperedProgram& program) {
  const auto message = messageOf(program);
  if (!message || !message->timestampToken) return std::nullopt;
  const std::string& token = *message->timestampToken;
  return flipIn(program, placeInMessage(program, token), token.size() - 1);
}

constexpr auto kTamperings = std::to_array<SignatureTampering>({
    {"FlipFirstInstruction", flipFirstInstruction},
    {"FlipMiddleOfCode", flipMiddleOfCode},
    {"FlipHeaderFlags", flipHeaderFlags},
    {"FlipFreeSpaceBehindCommands", flipFreeSpaceBehindCommands},
    {"FlipLinkEditBeforeSignature", flipLinkEditBeforeSignature},
    {"TruncateByOneByte", truncateByOneByte},
    {"TruncateToHalf", truncateToHalf},
    {"AppendData", appendData},
    {"RemoveSignatureCommand", removeSignatureCommand},
    {"RepeatSignatureCommand", repeatSignatureCommand},
    {"MoveSignatureBeyondImage", moveSignatureBeyondImage},
    {"ShortenLinkEdit", shortenLinkEdit},
    {"OverlapSlices", overlapSlices},
    {"SwapArchitectures", swapArchitectures},
    {"RepeatArchitecture", repeatArchitecture},
    {"HideDataInGap", hideDataInGap},
    {"DropArchitecture", dropArchitecture},
    {"TamperWithUncountedArchitecture", tamperWithUncountedArchitecture},
    {"UseSignatureOfOtherSlice", useSignatureOfOtherSlice},
    {"DamageSuperBlobMagic", damageSuperBlobMagic},
    {"GrowSuperBlob", growSuperBlob},
    {"GrowIndex", growIndex},
    {"SwapIndexEntries", swapIndexEntries},
    {"RepeatIndexEntry", repeatIndexEntry},
    {"ShareBlob", shareBlob},
    {"HideDataInPadding", hideDataInPadding},
    {"HideDataBetweenBlobs", hideDataBetweenBlobs},
    {"AddUnknownPart", addUnknownPart},
    {"FlipRequirements", flipRequirements},
    {"FlipEntitlements", flipEntitlements},
    {"FlipEntitlementsDER", flipEntitlementsDER},
    {"RemoveRequirements", removeRequirements},
    {"RemoveEntitlements", removeEntitlements},
    {"RemoveEntitlementsDER", removeEntitlementsDER},
    {"AddUnsealedEntitlements", addUnsealedEntitlements},
    {"FlipCodeHashOfFirstDirectory", flipCodeHashOfFirstDirectory},
    {"FlipCodeHashOfAlternateDirectory", flipCodeHashOfAlternateDirectory},
    {"FlipSpecialHashOfFirstDirectory", flipSpecialHashOfFirstDirectory},
    {"FlipSpecialHashOfAlternateDirectory", flipSpecialHashOfAlternateDirectory},
    {"EditIdentifier", editIdentifier},
    {"EditTeam", editTeam},
    {"EditTeamOfBestDirectoryOnly", editTeamOfBestDirectoryOnly},
    {"ToggleHardenedRuntime", toggleHardenedRuntime},
    {"ClaimToBeAdHoc", claimToBeAdHoc},
    {"ClaimToBeSigned", claimToBeSigned},
    {"UseUnknownVersion", useUnknownVersion},
    {"UseOtherVersion", useOtherVersion},
    {"RaiseCodeLimit", raiseCodeLimit},
    {"RaiseCodeSlotCount", raiseCodeSlotCount},
    {"UsePagesOfAnotherSize", usePagesOfAnotherSize},
    {"MoveHashesBeyondDirectory", moveHashesBeyondDirectory},
    {"CoverLessCode", coverLessCode},
    {"AddDirectoryOfAnotherAlgorithm", addDirectoryOfAnotherAlgorithm},
    {"AddDirectoryBehindAGap", addDirectoryBehindAGap},
    {"RepeatDirectory", repeatDirectory},
    {"UseWeakerDirectory", useWeakerDirectory},
    {"RemoveAlternateDirectory", removeAlternateDirectory},
    {"KeepAlternateDirectoryOnly", keepAlternateDirectoryOnly},
    {"UseForeignSignature", useForeignSignature},
    {"UseForeignDirectory", useForeignDirectory},
    {"UseForeignMessage", useForeignMessage},
    {"RemoveMessage", removeMessage},
    {"EmptyMessage", emptyMessage},
    {"ExtendMessage", extendMessage},
    {"FlipMessageDigest", flipMessageDigest},
    {"FlipSigningTime", flipSigningTime},
    {"FlipListedHash", flipListedHash},
    {"FlipTypedHash", flipTypedHash},
    {"FlipSignatureValue", flipSignatureValue},
    {"FlipSignerKey", flipSignerKey},
    {"FlipSignatureOfSignerCertificate", flipSignatureOfSignerCertificate},
    {"FlipSignatureOfIssuerCertificate", flipSignatureOfIssuerCertificate},
    {"FlipTimestamp", flipTimestamp},
});

}  // namespace

SignedProgram SignedProgram::read(const std::filesystem::path& file) {
  return {.file = file, .bytes = readFile(file), .object = readMachOFile(openRegularFile(AT_FDCWD, file.string()))};
}

std::string SignedProgram::signature(std::size_t slice) const {
  const MachOSlice& architecture = object.slices[slice];
  if (!architecture.image.signature) return {};
  const MachOSignatureCommand& command = *architecture.image.signature;
  const std::string_view room =
      std::string_view(bytes).substr(architecture.offset + command.dataOffset, command.dataLength);
  return std::string(room.substr(0, BlobReader(room).u32(kSuperBlobLength).value()));
}

TamperedProgram::TamperedProgram(SignedProgram& program, std::size_t slice, std::string_view foreign)
    : program_(program), slice_(slice), foreign_(foreign), file_(open(program.file.c_str(), O_RDWR | O_CLOEXEC)) {
  if (file_.get() < 0) throw QuillonSystemError::posix(errno, "open", program.file.string());
  readIndex(program.signature(slice));
}

void TamperedProgram::readIndex(std::string_view signature) {
  const EmbeddedSignature parsed = EmbeddedSignature::parse(std::string(signature));
  for (const CodeSlot slot : parsed.slots()) parts_[slot] = parsed.part(slot).value();
  const BlobReader reader(signature);
  const std::uint64_t indexEnd = kFirstIndexEntry + reader.u32(kSuperBlobCount).value() * kIndexEntrySize;
  for (std::uint64_t entry = kFirstIndexEntry; entry < indexEnd; entry += kIndexEntrySize) {
    const auto slot = static_cast<CodeSlot>(reader.u32(entry).value());
    const std::uint64_t blob = reader.u32(entry + 4).value();
    begins_[slot] = signatureBegin() + blob + reader.u32(blob + 4).value() - parts_.at(slot).size();
  }
}

TamperedProgram::~TamperedProgram() {
  for (auto change = changes_.rbegin(); change != changes_.rend(); ++change) {
    setLength(change->length);
    write(change->place, change->previous);
  }
}

std::string TamperedProgram::signatureOfOtherSlice() const {
  for (std::size_t i = 0; i < object().slices.size(); ++i) {
    if (i != slice_ && object().slices[i].image.signature) return program_.signature(i);
  }
  return {};
}

std::uint64_t TamperedProgram::signatureBegin() const {
  return slice().offset + slice().image.signature->dataOffset;
}

std::uint64_t TamperedProgram::signatureEnd() const {
  return slice().offset + slice().image.signature->dataEnd();
}

std::string_view TamperedProgram::code() const {
  return std::string_view(program_.bytes).substr(slice().offset, slice().image.signature->dataOffset);
}

void TamperedProgram::change(std::uint64_t place, std::string_view bytes) {
  changes_.push_back({place, program_.bytes.substr(place, bytes.size()), length()});
  write(place, bytes);
}

void TamperedProgram::flip(std::uint64_t place) {
  const char flipped = static_cast<char>(program_.bytes.at(place) ^ 1);
  change(place, {&flipped, 1});
}

std::uint32_t TamperedProgram::bigEndian(std::uint64_t place) const {
  return BlobReader(program_.bytes).u32(place).value();
}

void TamperedProgram::setBigEndian(std::uint64_t place, std::uint32_t value) {
  change(place, BlobBuilder().u32(value).blob());
}

std::uint32_t TamperedProgram::littleEndian(std::uint64_t place) const {
  return __builtin_bswap32(bigEndian(place));
}

void TamperedProgram::setLittleEndian(std::uint64_t place, std::uint32_t value) {
  setBigEndian(place, __builtin_bswap32(value));
}

void TamperedProgram::truncate(std::uint64_t newLength) {
  changes_.push_back({newLength, program_.bytes.substr(newLength), length()});
  setLength(newLength);
}

void TamperedProgram::append(std::string_view more) {
  const std::uint64_t end = length();
  changes_.push_back({end, {}, end});
  setLength(end + more.size());
  write(end, more);
}

bool TamperedProgram::replaceSignature(std::string_view signature) {
  const std::uint64_t room = signatureEnd() - signatureBegin();
  if (signature.empty() || signature.size() > room) return false;
  std::string padded(signature);
  padded.resize(room, '\0');
  change(signatureBegin(), padded);
  return true;
}

bool TamperedProgram::replaceParts(const std::map<CodeSlot, std::string>& parts) {
  return replaceSignature(buildEmbeddedSignature(parts));
}

void TamperedProgram::write(std::uint64_t place, std::string_view bytes) {
  program_.bytes.replace(place, bytes.size(), bytes);
  const ssize_t count = pwrite(file_.get(), bytes.data(), bytes.size(), static_cast<off_t>(place));
  EXPECT_EQ(count, static_cast<ssize_t>(bytes.size())) << program_.file;
}

void TamperedProgram::setLength(std::uint64_t newLength) {
  if (newLength == length()) return;
  program_.bytes.resize(newLength);
  EXPECT_EQ(ftruncate(file_.get(), static_cast<off_t>(newLength)), 0) << program_.file;
}

std::span<const SignatureTampering> signatureTamperings() {
  return kTamperings;
}

}  // namespace quillon::testing
