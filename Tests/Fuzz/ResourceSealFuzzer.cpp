// Resource seals: whatever is accepted can be asked about every path, and survives being written and read again.

#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/RequirementText.h"
#include "CodeSignature/ResourceSeal.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"

namespace {

void require(bool condition) {
  if (!condition) std::abort();
}

void checkRules(const quillon::ResourceSeal& seal) {
  for (const auto& [path, resource] : seal.resources) {
    const quillon::ResourceRule* rule = seal.rules.find(path);
    require(seal.rules.includes(path) == (rule != nullptr && !rule->isOmitted));
  }
  (void)seal.rules.isStrict(seal.version);
}

void checkRequirements(const quillon::ResourceSeal& seal) {
  for (const auto& [path, resource] : seal.resources) {
    if (!resource.requirement) continue;
    try {
      const auto requirement = quillon::parseRequirementText(*resource.requirement);
      require(quillon::parseRequirementText(quillon::requirementText(requirement)) == requirement);
    } catch (const quillon::CodeSignatureError&) {
      // A text that is no requirement.
    }
  }
}

void checkRoundTrip(const quillon::ResourceSeal& seal) {
  try {
    const quillon::ResourceSeal again = quillon::parseResourceSeal(quillon::buildResourceSeal(seal, {}));
    require(again.resources.size() == seal.resources.size() && again.rules.count() == seal.rules.count());
    for (const auto& [path, resource] : seal.resources) {
      const quillon::SealedResource& other = again.resources.at(path);
      require(other.hashes == resource.hashes && other.linkText == resource.linkText);
      require(other.requirement == resource.requirement && other.isOptional == resource.isOptional);
    }
  } catch (const quillon::QuillonPropertyListError&) {
    // Some texts of binary lists have no place in XML.
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    const quillon::ResourceSeal seal =
        quillon::parseResourceSeal(std::string_view(reinterpret_cast<const char*>(data), size));
    checkRules(seal);
    checkRequirements(seal);
    checkRoundTrip(seal);
  } catch (const quillon::CodeSignatureError&) {
    // Refusing is a right answer to most inputs.
  }
  return 0;
}
