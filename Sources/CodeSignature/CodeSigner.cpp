#include "CodeSignature/CodeSigner.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <map>
#include <string_view>
#include <utility>
#include <vector>

#include "CodeSignature/BundleLeftovers.h"
#include "CodeSignature/BundleLink.h"
#include "CodeSignature/CMSSignature.h"
#include "CodeSignature/CodeObject.h"
#include "CodeSignature/CodePages.h"
#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/CodeSignatureVerifier.h"
#include "CodeSignature/DesignatedRequirement.h"
#include "CodeSignature/RequirementText.h"
#include "CodeSignature/ResourceHashing.h"
#include "CodeSignature/SignatureFolder.h"
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

std::set<CodeHashType> hashTypesFor(const BundleLayout& layout, const SigningOptions& options) {
  if (options.hashTypes) return *options.hashTypes;
  const std::string minimum = layout.informationText("LSMinimumSystemVersion");
  if (!minimum.empty() && isBefore(minimum, kFirstSystemWithSHA256Only)) {
    return {CodeHashType::sha1, CodeHashType::sha256};
  }
  return {CodeHashType::sha256};
}

/// Makes the signature of one bundle whose nested code is signed.
class BundleSigning {
 public:
  /// `path` is the bundle's own below the outermost one.
  BundleSigning(const CodeObject& object, const CodeObject& outermost, std::vector<SealedScope> outer,
                const std::string& path, const SigningOptions& options)
      : layout_(*object.bundle()),
        outermost_(outermost),
        scopes_(std::move(outer)),
        support_(joinedPath(path, layout_.supportName)),
        options_(options),
        code_(object.native()),
        rules_(ResourceRules::standard(2, layout_.hasResourcesFolder())),
        hashTypes_(hashTypesFor(layout_, options)) {
    if (object.objectFile()) throw CodeSignatureError(CodeSignatureErrorCode::signatureUnsupported);
    if (layout_.isInformationMalformed) throw CodeSignatureError(CodeSignatureErrorCode::badPropertyList);
    checkBundleRoot(layout_);
    scopes_.push_back({.support = support_, .rules = &rules_, .mainExecutable = &layout_.mainExecutable});
    removeUnfinishedSignatureFolders(layout_);
    scanned_ = scanResources(layout_.support, rules_, layout_.mainExecutable, layout_.supportPath());
  }

  void run() {
    signNestedCode();
    SignatureFiles files;
    files["CodeResources"] = sealResources();
    files["CodeRequirements"] = buildRequirementSet(requirements());
    std::vector<CodeDirectory> directories;
    for (const CodeHashType type : hashTypes_) directories.push_back(makeDirectory(type, files));
    files["CodeDirectory"] = directories.front().blob;
    for (std::size_t i = 1; i < directories.size(); ++i) {
      files[std::string(kAlternateCodeDirectoryFiles[i - 1])] = directories[i].blob;
    }
    if (options_.identity) {
      files["CodeSignature"] = makeCMSSignature(directories, *options_.identity, options_.signingTime);
    } else {
      files["CodeSignature"] = {};
    }
    replaceSignatureFolder(layout_, files);
  }

 private:
  [[noreturn]] void fail(CodeSignatureErrorCode code, const std::string& path) const {
    throw CodeSignatureError(code, {"In item: " + layout_.supportPath() + "/" + path});
  }

  [[nodiscard]] std::string identifier() const {
    std::string identifier = options_.identifier;
    if (identifier.empty()) identifier = layout_.informationText("CFBundleIdentifier");
    if (identifier.empty()) identifier = layout_.baseName();
    if (identifier.find('\0') != std::string::npos) throw QuillonError("The identifier holds a NUL character");
    return identifier;
  }

  [[nodiscard]] RequirementSet requirements() const {
    RequirementSet set;
    if (!options_.identity) return set;
    CertificateChain chain;
    for (const std::string& der : options_.identity->certificateChain()) {
      chain.certificates.push_back(certificateFacts(der));
    }
    set.emplace(RequirementPurpose::designated, derivedDesignatedRequirement(identifier(), {}, &chain));
    return set;
  }

  [[nodiscard]] CodeDirectory makeDirectory(CodeHashType type, const SignatureFiles& files) const {
    CodeDirectory directory;
    directory.hashType = type;
    directory.flags = options_.identity ? 0 : kCodeDirectoryAdHocFlag;
    directory.identifier = identifier();
    if (options_.identity) directory.team = options_.identity->team();
    directory.codeLimit = code_.codeLength();
    if (layout_.hasInformation) {
      directory.specialHashes[CodeSlot::infoPropertyList] = codeHash(type, layout_.informationBytes);
    }
    directory.specialHashes[CodeSlot::requirements] = codeHash(type, files.at("CodeRequirements"));
    directory.specialHashes[CodeSlot::resources] = codeHash(type, files.at("CodeResources"));
    const auto read = [this](std::uint64_t offset, std::span<char> block) { return code_.readCode(offset, block); };
    directory.pageHashes = hashCodePages(read, directory.codeLimit, directory.pageSizeLog2, {type}).front();
    return parseCodeDirectory(buildCodeDirectory(directory));
  }

  void signNestedCode();
  [[nodiscard]] std::vector<LoadedSignature> signOrKeepNested(const std::string& path, const CodeObject& nested);

  std::string sealResources() {
    ResourceSeal seal{.version = 2, .rules = ResourceRules::standard(2, layout_.hasResourcesFolder()), .resources = {}};
    std::vector<std::string> paths;
    for (const ScannedResource& resource : scanned_) {
      SealedResource sealed{.isOptional = resource.isOptional};
      if (resource.kind == ScannedResourceKind::file) {
        paths.push_back(resource.path);
      } else if (resource.kind == ScannedResourceKind::link) {
        checkLink(resource);
        sealed.linkText = resource.linkText;
      } else {
        sealed.requirement = nested_.at(resource.path).requirement;
        sealed.codeDirectoryHash = nested_.at(resource.path).codeDirectoryHash;
      }
      seal.resources.emplace(resource.path, std::move(sealed));
    }
    const std::map<std::string, std::string> versionOneHashes = hashFiles(paths, seal);
    return writeSeal(seal, versionOneHashes);
  }

  void checkLink(const ScannedResource& resource) const {
    if (!isSealedDestination(outermost_.bundle()->bundle, joinedPath(support_, resource.path), resource.linkText,
                             scopes_)) {
      fail(CodeSignatureErrorCode::invalidLinkDestination, resource.path);
    }
  }

  std::map<std::string, std::string> hashFiles(const std::vector<std::string>& paths, ResourceSeal& seal) const {
    std::set<CodeHashType> types = hashTypes_;
    types.insert(CodeHashType::sha1);  // for the version 1 list
    std::vector<CodeHashes> hashes(paths.size());
    hashResources(layout_.support, paths, types, true,
                  [&hashes](std::size_t index, const CodeHashes& values) { hashes[index] = values; });
    std::map<std::string, std::string> versionOneHashes;
    for (std::size_t i = 0; i < paths.size(); ++i) {
      if (hashes[i].empty()) fail(CodeSignatureErrorCode::badResource, paths[i]);
      versionOneHashes.emplace(paths[i], hashes[i].at(CodeHashType::sha1));
      for (const CodeHashType type : hashTypes_) seal.resources.at(paths[i]).hashes.emplace(type, hashes[i].at(type));
    }
    return versionOneHashes;
  }

  [[nodiscard]] std::string writeSeal(const ResourceSeal& seal,
                                      const std::map<std::string, std::string>& versionOneHashes) const {
    try {
      return buildResourceSeal(seal, versionOneHashes, layout_.hasResourcesFolder());
    } catch (const QuillonPropertyListError& error) {
      throw QuillonError("A file name cannot be sealed: " + error.description());
    }
  }

  struct NestedCode {
    std::string requirement;
    std::string codeDirectoryHash;
  };

  const BundleLayout& layout_;
  const CodeObject& outermost_;
  std::vector<SealedScope> scopes_;
  std::string support_;
  const SigningOptions& options_;
  const CodeRepresentation& code_;
  ResourceRules rules_;
  std::set<CodeHashType> hashTypes_;
  std::vector<ScannedResource> scanned_;
  std::map<std::string, NestedCode> nested_;
};

bool isSigned(const CodeObject& object) {
  return object.native().signaturePart(CodeSlot::codeDirectory).has_value();
}

/// Verifies nested code as its own outermost bundle, but with links into the bundles around it allowed.
std::vector<LoadedSignature> BundleSigning::signOrKeepNested(const std::string& path, const CodeObject& nested) {
  const std::string nestedPath = joinedPath(support_, path);
  if (nested.bundle() != nullptr && (!isSigned(nested) || options_.signsNestedCode)) {
    SigningOptions options = options_;
    options.identifier.clear();
    BundleSigning(nested, outermost_, scopes_, nestedPath, options).run();
  }
  CodeSignatureVerifier verifier(outermost_, {});
  return verifier.verifyNested(nested, nestedPath, scopes_);
}

void BundleSigning::signNestedCode() {
  for (const ScannedResource& resource : scanned_) {
    if (resource.kind != ScannedResourceKind::nestedCode) continue;
    const std::string absolutePath = layout_.supportPath() + "/" + resource.path;
    try {
      const CodeObject nested = CodeObject::openNested(layout_.support, resource.path, absolutePath);
      const std::vector<LoadedSignature> signatures = signOrKeepNested(resource.path, nested);
      nested_[resource.path] = {.requirement = requirementText(designatedRequirement(signatures)),
                                .codeDirectoryHash = signatures.front().best().identifyingHash()};
    } catch (const CodeSignatureError& error) {
      throw error.inSubcomponent(absolutePath);
    }
  }
}

}  // namespace

void signBundle(const QuillonURL& bundle, const SigningOptions& options) {
  const CodeObject object = CodeObject::openAt(bundle);
  if (object.bundle() == nullptr) throw CodeSignatureError(CodeSignatureErrorCode::signatureUnsupported);
  if (!options.replacesSignature && isSigned(object)) throw QuillonError("is already signed");
  BundleSigning(object, object, {}, {}, options).run();
}

}  // namespace quillon
