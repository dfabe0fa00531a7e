// Signing Mach-O files: what is signed can be read, is sealed as its signature says, and stays the same when it is
// signed again; nothing but headers and signatures changes.

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>

#include "CodeSignature/CodePages.h"
#include "CodeSignature/EmbeddedSignature.h"
#include "CodeSignature/FileRange.h"
#include "CodeSignature/MachOSigner.h"
#include "QuillonCore/Values/QuillonError.h"

namespace {

using quillon::FileDescriptor;

void require(bool condition) {
  if (!condition) std::abort();
}

/// Signed files have holes where images stand far apart; comparing and copying them would take long and show nothing.
constexpr std::uint64_t kLengthLimit = 1 << 20;

quillon::MachOSigningRequest request() {
  quillon::MachOSigningRequest request;
  request.identifier = "fuzz";
  request.hashTypes = {quillon::CodeHashType::sha1, quillon::CodeHashType::sha256};
  request.hasEmbeddedInformation = true;
  request.isRuntimeHardened = true;
  return request;
}

FileDescriptor emptyFile() {
  FileDescriptor file(memfd_create("object", MFD_CLOEXEC));
  require(static_cast<bool>(file));
  return file;
}

void checkImage(const quillon::MachOSlice& slice, const FileDescriptor& file) {
  require(slice.image.signature.has_value());
  const quillon::MachOSignatureCommand& command = *slice.image.signature;
  const auto signature = quillon::EmbeddedSignature::parse(
      quillon::readFileRange(file, slice.offset + command.dataOffset, command.dataLength));
  const auto read = [&](std::uint64_t offset, std::span<char> block) {
    return quillon::readFileAt(file, slice.offset + offset, block);
  };
  for (const quillon::CodeSlot slot : {quillon::CodeSlot::codeDirectory, quillon::CodeSlot::alternateCodeDirectory}) {
    const quillon::CodeDirectory directory = quillon::parseCodeDirectory(signature.part(slot).value());
    require(directory.codeLimit == command.dataOffset);
    require(directory.pageHashes ==
            quillon::hashCodePages(read, directory.codeLimit, directory.pageSizeLog2, {directory.hashType}).front());
  }
}

/// Everything between the load commands and the signature is what it was.
void checkContent(const quillon::MachOSlice& before, const FileDescriptor& file, const quillon::MachOSlice& after,
                  const FileDescriptor& output) {
  const std::uint64_t begin = after.image.commandsEnd;
  const std::uint64_t end =
      std::min(after.image.signature->dataOffset, before.image.signature && before.image.signature->dataLength > 0
                                                      ? before.image.signature->dataOffset
                                                      : before.length);
  require(begin <= end);
  require(quillon::readFileRange(file, before.offset + begin, end - begin) ==
          quillon::readFileRange(output, after.offset + begin, end - begin));
}

void checkSigningAgain(const quillon::MachOFile& object, const FileDescriptor& file) {
  const FileDescriptor again = emptyFile();
  quillon::writeSignedMachOFile(object, file, again, request());
  require(quillon::fileLength(again) == object.length);
  require(quillon::readFileRange(again, 0, object.length) == quillon::readFileRange(file, 0, object.length));
}

void signAndCheck(const quillon::MachOFile& object, const FileDescriptor& file, const FileDescriptor& output) {
  const auto signatures = quillon::writeSignedMachOFile(object, file, output, request());
  const quillon::MachOFile signedObject = quillon::readMachOFile(output);
  require(signatures.size() == object.slices.size() && signedObject.formatName() == object.formatName());
  quillon::checkMachOLayout(signedObject, output);
  for (std::size_t i = 0; i < object.slices.size(); ++i) {
    checkImage(signedObject.slices[i], output);
    checkContent(object.slices[i], file, signedObject.slices[i], output);
  }
  checkSigningAgain(signedObject, output);
}

bool isCompact(const quillon::MachOFile& object) {
  std::uint64_t length = object.length;
  for (const quillon::MachOSlice& slice : object.slices) length += std::uint64_t{1} << slice.alignment;
  return length <= kLengthLimit;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const FileDescriptor file = emptyFile();
  quillon::writeFileRange(file, 0, {reinterpret_cast<const char*>(data), size});
  const FileDescriptor output = emptyFile();
  quillon::MachOFile object;
  try {
    object = quillon::readMachOFile(file);
    if (!isCompact(object)) return 0;
    quillon::writeSignedMachOFile(object, file, output, request());
  } catch (const quillon::QuillonError&) {
    return 0;  // refusing is a right answer to most inputs
  }
  // From here on nothing may fail.
  signAndCheck(object, file, emptyFile());
  return 0;
}
