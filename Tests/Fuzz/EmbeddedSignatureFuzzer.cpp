// Signatures inside object files: the parts of whatever is accepted survive being written and read again.

#include <cstdint>
#include <cstdlib>
#include <map>
#include <string>

#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/EmbeddedSignature.h"

namespace {

void require(bool condition) {
  if (!condition) std::abort();
}

std::map<quillon::CodeSlot, std::string> partsOf(const quillon::EmbeddedSignature& signature) {
  std::map<quillon::CodeSlot, std::string> parts;
  for (const quillon::CodeSlot slot : signature.slots()) {
    const auto part = signature.part(slot);
    require(part.has_value());
    parts.emplace(slot, *part);
  }
  return parts;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::map<quillon::CodeSlot, std::string> parts;
  try {
    parts = partsOf(quillon::EmbeddedSignature::parse(std::string(reinterpret_cast<const char*>(data), size)));
  } catch (const quillon::CodeSignatureError&) {
    return 0;  // Refusing is a right answer to most inputs.
  }
  // What was read can be written: an error here is a finding.
  const std::string rebuilt = quillon::buildEmbeddedSignature(parts);
  require(rebuilt.size() <= size);
  require(partsOf(quillon::EmbeddedSignature::parse(rebuilt)) == parts);
  return 0;
}
