#include "CodeSignature/ResourceSeal.h"

#include "CodeSignature/CodeSignatureError.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"

namespace quillon {
namespace {

using Dictionary = QuillonPropertyListValue::Dictionary;

constexpr std::string_view kFilesKey = "files";
constexpr std::string_view kRulesKey = "rules";
constexpr std::string_view kFiles2Key = "files2";
constexpr std::string_view kRules2Key = "rules2";
constexpr std::string_view kHashKey = "hash";
constexpr std::string_view kOptionalKey = "optional";
constexpr std::string_view kSymlinkKey = "symlink";
constexpr std::string_view kRequirementKey = "requirement";
constexpr std::string_view kCodeDirectoryHashKey = "cdhash";

constexpr CodeHashType kHashTypes[] = {CodeHashType::sha1, CodeHashType::sha256, CodeHashType::sha256Truncated,
                                       CodeHashType::sha384};

[[noreturn]] void fail() {
  throw CodeSignatureError(CodeSignatureErrorCode::resourcesInvalid);
}

/// "hash" for SHA-1, else "hash" with the number of the type.
std::string hashKey(CodeHashType type) {
  std::string key(kHashKey);
  if (type != CodeHashType::sha1) key += std::to_string(static_cast<int>(type));
  return key;
}

std::string dataOf(const QuillonPropertyListValue& value) {
  const auto* data = value.getIf<QuillonPropertyListData>();
  if (data == nullptr) fail();
  return {data->bytes.begin(), data->bytes.end()};
}

QuillonPropertyListValue dataValue(std::string_view bytes) {
  return QuillonPropertyListValue(QuillonPropertyListData{{bytes.begin(), bytes.end()}});
}

std::optional<std::string> optionalText(const QuillonPropertyListValue& value, std::string_view key) {
  const QuillonPropertyListValue* found = value.find(key);
  if (found == nullptr) return std::nullopt;
  const auto* text = found->getIf<std::string>();
  if (text == nullptr) fail();
  return *text;
}

SealedResource resourceFrom(const QuillonPropertyListValue& value) {
  SealedResource resource;
  if (value.getIf<QuillonPropertyListData>() != nullptr) {
    resource.hashes.emplace(CodeHashType::sha1, dataOf(value));
    return resource;
  }
  if (value.getIf<Dictionary>() == nullptr) fail();
  for (const CodeHashType type : kHashTypes) {
    if (const QuillonPropertyListValue* hash = value.find(hashKey(type))) resource.hashes.emplace(type, dataOf(*hash));
  }
  if (const QuillonPropertyListValue* optional = value.find(kOptionalKey)) {
    const bool* flag = optional->getIf<bool>();
    if (flag == nullptr) fail();
    resource.isOptional = *flag;
  }
  resource.linkText = optionalText(value, kSymlinkKey);
  resource.requirement = optionalText(value, kRequirementKey);
  if (const QuillonPropertyListValue* hash = value.find(kCodeDirectoryHashKey)) {
    resource.codeDirectoryHash = dataOf(*hash);
  }
  const int kinds =
      int(!resource.hashes.empty()) + int(resource.linkText.has_value()) + int(resource.requirement.has_value());
  if (kinds != 1) fail();
  return resource;
}

QuillonPropertyListValue valueOf(const SealedResource& resource) {
  Dictionary dictionary;
  for (const auto& [type, hash] : resource.hashes) dictionary.emplace(hashKey(type), dataValue(hash));
  if (resource.linkText) dictionary.emplace(kSymlinkKey, *resource.linkText);
  if (resource.requirement) {
    dictionary.emplace(kRequirementKey, *resource.requirement);
    dictionary.emplace(kCodeDirectoryHashKey, dataValue(resource.codeDirectoryHash));
  }
  if (resource.isOptional) dictionary.emplace(kOptionalKey, true);
  return QuillonPropertyListValue(std::move(dictionary));
}

QuillonPropertyListValue versionOneFiles(const std::map<std::string, std::string>& hashes, const ResourceRules& rules) {
  Dictionary files;
  for (const auto& [path, hash] : hashes) {
    const ResourceRule* rule = rules.find(path);
    if (rule == nullptr || rule->isOmitted) continue;
    if (rule->isOptional) {
      files.emplace(path, Dictionary{{std::string(kHashKey), dataValue(hash)},
                                     {std::string(kOptionalKey), QuillonPropertyListValue(true)}});
    } else {
      files.emplace(path, dataValue(hash));
    }
  }
  return QuillonPropertyListValue(std::move(files));
}

QuillonPropertyListValue readList(std::string_view bytes) {
  try {
    return readPropertyList(bytes);
  } catch (const QuillonPropertyListError&) {
    throw CodeSignatureError(CodeSignatureErrorCode::badPropertyList);
  }
}

}  // namespace

ResourceSeal parseResourceSeal(std::string_view bytes) {
  const QuillonPropertyListValue list = readList(bytes);
  const int version = list.find(kFiles2Key) != nullptr ? 2 : 1;
  const QuillonPropertyListValue* files = list.find(version == 2 ? kFiles2Key : kFilesKey);
  const QuillonPropertyListValue* rules = list.find(version == 2 ? kRules2Key : kRulesKey);
  const auto* entries = files == nullptr ? nullptr : files->getIf<Dictionary>();
  if (entries == nullptr || rules == nullptr) fail();
  ResourceSeal seal{.version = version, .rules = ResourceRules::fromPropertyList(*rules), .resources = {}};
  seal.resources.reserve(entries->size());
  for (const auto& [path, value] : *entries) seal.resources.emplace(path, resourceFrom(value));
  return seal;
}

std::string buildResourceSeal(const ResourceSeal& seal, const std::map<std::string, std::string>& versionOneHashes,
                              bool hasResourcesFolder) {
  Dictionary files2;
  for (const auto& [path, resource] : seal.resources) files2.emplace(path, valueOf(resource));
  const ResourceRules versionOneRules = ResourceRules::standard(1, hasResourcesFolder);
  Dictionary list;
  list.emplace(kFilesKey, versionOneFiles(versionOneHashes, versionOneRules));
  list.emplace(kRulesKey, versionOneRules.propertyList());
  list.emplace(kFiles2Key, std::move(files2));
  list.emplace(kRules2Key, seal.rules.propertyList());
  return writeXMLPropertyList(QuillonPropertyListValue(std::move(list)));
}

}  // namespace quillon
