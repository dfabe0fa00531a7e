// Code directories: whatever is accepted fits together, and survives being written and read again.

#include <cstdint>
#include <cstdlib>
#include <string>

#include "CodeSignature/CodeDirectory.h"
#include "CodeSignature/CodeSignatureError.h"

namespace {

void require(bool condition) {
  if (!condition) std::abort();
}

void checkSizes(const quillon::CodeDirectory& directory) {
  const std::size_t hashSize = quillon::codeHashSize(directory.hashType);
  require(directory.pageHashes.size() == directory.pageCount() * hashSize);
  for (const auto& [slot, hash] : directory.specialHashes) {
    require(hash.size() == hashSize && static_cast<std::uint32_t>(slot) <= directory.specialSlotCount);
  }
  require(directory.identifier.find('\0') == std::string::npos);
  require(directory.identifyingHash().size() == quillon::kCodeDirectoryHashLength);
}

void checkRoundTrip(const quillon::CodeDirectory& directory) {
  const quillon::CodeDirectory again = quillon::parseCodeDirectory(quillon::buildCodeDirectory(directory));
  require(again.identifier == directory.identifier && again.team == directory.team);
  require(again.flags == directory.flags && again.hashType == directory.hashType);
  require(again.codeLimit == directory.codeLimit && again.pageSizeLog2 == directory.pageSizeLog2);
  require(again.pageHashes == directory.pageHashes && again.specialHashes == directory.specialHashes);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    const quillon::CodeDirectory directory =
        quillon::parseCodeDirectory(std::string(reinterpret_cast<const char*>(data), size));
    checkSizes(directory);
    checkRoundTrip(directory);
  } catch (const quillon::CodeSignatureError&) {
    // Refusing is a right answer to most inputs.
  }
  return 0;
}
