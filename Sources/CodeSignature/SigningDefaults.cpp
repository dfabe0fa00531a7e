#include "CodeSignature/SigningDefaults.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <filesystem>
#include <string_view>

#include "CodeSignature/DesignatedRequirement.h"
#include "CodeSignature/MachOSigner.h"
#include "CodeSignature/RequirementSet.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"

namespace quillon {
namespace {

/// The first system that reads SHA-256 alone.
constexpr std::array<int, 3> kFirstSystemWithSHA256Only = {10, 11, 4};

bool isBefore(std::string_view version, const std::array<int, 3>& limit) {
  for (const int part : limit) {
    int value = 0;
    const auto [end, error] = std::from_chars(version.data(), version.data() + version.size(), value);
    if (error != std::errc()) value = 0;
    if (value != part) return value < part;
    version.remove_prefix(std::min<std::size_t>(static_cast<std::size_t>(end - version.data()) + 1, version.size()));
  }
  return false;
}

/// The bundle identifier that a single file has in itself; empty when it has none.
std::string embeddedIdentifier(const CodeObject& object) {
  const auto information = object.native().signaturePart(CodeSlot::infoPropertyList);
  if (!information) return {};
  try {
    const QuillonPropertyListValue list = readPropertyList(*information);
    const QuillonPropertyListValue* value = list.find("CFBundleIdentifier");
    const std::string* text = value == nullptr ? nullptr : value->getIf<std::string>();
    return text == nullptr ? std::string() : *text;
  } catch (const QuillonPropertyListError&) {
    return {};  // as good as none; the bytes are sealed all the same
  }
}

std::string fileIdentifier(const CodeObject& object, const SigningOptions& options) {
  std::string identifier = embeddedIdentifier(object);
  if (!identifier.empty()) return identifier;
  identifier = std::filesystem::path(object.path()).stem().string();
  const bool isUnique = options.identity || !object.objectFile();
  return isUnique ? identifier : uniqueMachOIdentifier(identifier, *object.objectFile());
}

std::string bundleIdentifier(const BundleLayout& layout) {
  const std::string identifier = layout.informationText("CFBundleIdentifier");
  return identifier.empty() ? layout.baseName() : identifier;
}

}  // namespace

std::string signingIdentifier(const CodeObject& object, const SigningOptions& options) {
  std::string identifier = options.identifier;
  if (identifier.empty()) {
    identifier = object.bundle() == nullptr ? fileIdentifier(object, options) : bundleIdentifier(*object.bundle());
  }
  if (identifier.find('\0') != std::string::npos) throw QuillonError("The identifier holds a NUL character");
  return identifier;
}

std::set<CodeHashType> signingHashTypes(const CodeObject& object, const SigningOptions& options) {
  if (options.hashTypes) return *options.hashTypes;
  if (object.objectFile()) return hashTypesForMachO(*object.objectFile());
  const std::string minimum =
      object.bundle() == nullptr ? std::string() : object.bundle()->informationText("LSMinimumSystemVersion");
  if (!minimum.empty() && isBefore(minimum, kFirstSystemWithSHA256Only)) {
    return {CodeHashType::sha1, CodeHashType::sha256};
  }
  return {CodeHashType::sha256};
}

std::string signingRequirements(const std::string& identifier, const SigningOptions& options) {
  RequirementSet set;
  if (options.identity) {
    CertificateChain chain;
    for (const std::string& der : options.identity->certificateChain()) {
      chain.certificates.push_back(certificateFacts(der));
    }
    set.emplace(RequirementPurpose::designated, derivedDesignatedRequirement(identifier, {}, &chain));
  }
  return buildRequirementSet(set);
}

}  // namespace quillon
