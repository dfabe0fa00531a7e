#include "CodeSignature/CodeSigner.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <utility>
#include <vector>

#include "CodeSignature/BlobReader.h"
#include "CodeSignature/BundleLeftovers.h"
#include "CodeSignature/BundleLink.h"
#include "CodeSignature/CMSSignature.h"
#include "CodeSignature/CodeObject.h"
#include "CodeSignature/CodePages.h"
#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/CodeSignatureVerifier.h"
#include "CodeSignature/FileReplacement.h"
#include "CodeSignature/MachOSignatureSpace.h"
#include "CodeSignature/MachOSigner.h"
#include "CodeSignature/RequirementText.h"
#include "CodeSignature/ResourceHashing.h"
#include "CodeSignature/SignatureFolder.h"
#include "CodeSignature/SigningDefaults.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"

namespace quillon {
namespace {

/// Of code directories: made by the linker.
constexpr std::uint32_t kLinkerSignedFlag = 0x20000;
constexpr std::uint64_t kFlagsOffset = 12;

bool isSigned(const CodeRepresentation& code) {
  const auto directory = code.signaturePart(CodeSlot::codeDirectory);
  return directory && (BlobReader(*directory).u32(kFlagsOffset).value_or(0) & kLinkerSignedFlag) == 0;
}

bool isSigned(const CodeObject& object) {
  return std::ranges::all_of(object.architectures(), [](const auto& code) { return isSigned(*code); });
}

/// Where a file is, below some folder.
struct FilePlace {
  explicit FilePlace(std::string_view path) : name(path.substr(path.rfind('/') + 1)) {
    if (path.size() > name.size()) folder = path.substr(0, path.size() - name.size() - 1);
  }

  std::string folder;
  std::string name;
};

/// The part of the request that is alike for bundles and single files.
MachOSigningRequest machORequest(const CodeObject& object, const SigningOptions& options) {
  MachOSigningRequest request;
  request.identifier = signingIdentifier(object, options);
  request.hashTypes = signingHashTypes(object, options);
  request.parts[CodeSlot::requirements] = signingRequirements(request.identifier, options);
  request.entitlements = options.entitlements;
  request.identity = options.identity ? &*options.identity : nullptr;
  request.signingTime = options.signingTime;
  request.isRuntimeHardened = options.isRuntimeHardened;
  return request;
}

void refuseSidebandData(const CodeObject& object) {
  if (hasSidebandData(object.mainFile()) || (object.bundle() != nullptr && hasSidebandData(object.bundle()->bundle))) {
    throw CodeSignatureError(CodeSignatureErrorCode::sidebandDataRefused);
  }
}

/// Signs a file that is no main executable of a bundle.
void signSingleFile(const CodeObject& object, const FileDescriptor& folder, const std::string& name,
                    const SigningOptions& options) {
  if (!object.objectFile()) throw QuillonError("is neither a bundle nor a Mach-O file");
  refuseSidebandData(object);
  MachOSigningRequest request = machORequest(object, options);
  request.hasEmbeddedInformation = true;
  signMachOFile(folder, name, request);
}

/// Makes the signature of one bundle whose nested code is signed.
class BundleSigning {
 public:
  /// `path` is the bundle's own below the outermost one.
  BundleSigning(const CodeObject& object, const CodeObject& outermost, std::vector<SealedScope> outer,
                const std::string& path, const SigningOptions& options)
      : object_(object),
        layout_(*object.bundle()),
        outermost_(outermost),
        scopes_(std::move(outer)),
        support_(joinedPath(path, layout_.supportName)),
        options_(options),
        rules_(ResourceRules::standard(2, layout_.hasResourcesFolder())),
        hashTypes_(signingHashTypes(object, options)) {
    if (layout_.isInformationMalformed) throw CodeSignatureError(CodeSignatureErrorCode::badPropertyList);
    refuseSidebandData(object);
    checkBundleRoot(layout_);
    scopes_.push_back({.support = support_, .rules = &rules_, .mainExecutable = &layout_.mainExecutable});
    removeUnfinishedSignatureFolders(layout_);
    scanned_ = scanResources(layout_.support, rules_, layout_.mainExecutable, layout_.supportPath());
    removeUnfinishedFiles();
    findNestedFiles();
  }

  /// Nothing is written before everything has been refused that can be recognised without a signature.
  void run() {
    checkLinks();
    signNestedCode();
    const std::string seal = sealResources();
    if (object_.objectFile()) {
      signObjectFile(seal);
    } else {
      signGenericCode(seal);
    }
  }

 private:
  [[noreturn]] void fail(CodeSignatureErrorCode code, const std::string& path) const {
    throw CodeSignatureError(code, {"In item: " + layout_.supportPath() + "/" + path});
  }

  void removeUnfinishedFiles() {
    std::set<std::string> folders;
    std::erase_if(scanned_, [&folders](const ScannedResource& resource) {
      const FilePlace place(resource.path);
      const bool isUnfinished = resource.kind == ScannedResourceKind::file && isUnfinishedReplacement(place.name);
      if (isUnfinished) folders.insert(place.folder);
      return isUnfinished;
    });
    for (const std::string& folder : folders) {
      removeUnfinishedReplacements(openFolderBeneath(layout_.support.get(), folder));
    }
  }

  /// Object files where code is expected are code; everything else there is sealed by its hash.
  void findNestedFiles() {
    for (ScannedResource& resource : scanned_) {
      if (resource.kind != ScannedResourceKind::file || !resource.isAtNestedPlace) continue;
      const FilePlace place(resource.path);
      const FileDescriptor folder = openFolderBeneath(layout_.support.get(), place.folder);
      if (isMachOFile(openRegularFile(folder.get(), place.name))) resource.kind = ScannedResourceKind::nestedCode;
    }
  }

  /// The executable and the seal cannot be exchanged in one step together; when the second fails, the first is undone.
  void signObjectFile(const std::string& seal) {
    MachOSigningRequest request = machORequest(object_, options_);
    request.parts[CodeSlot::resources] = seal;
    if (layout_.hasInformation) request.parts[CodeSlot::infoPropertyList] = layout_.informationBytes;
    const FilePlace place(layout_.mainExecutable);
    FileReplacement replacement(openFolderBeneath(layout_.support.get(), place.folder), place.name);
    writeSignedMachOFile(*object_.objectFile(), object_.mainFile(), replacement.file(), request);
    replacement.install(object_.mainFile());
    replaceSignatureFolder(layout_, {{fileName(CodeSlot::resources), seal}});
    replacement.keep();
  }

  void signGenericCode(const std::string& seal) {
    std::map<CodeSlot, std::string> parts;
    parts[CodeSlot::requirements] = signingRequirements(signingIdentifier(object_, options_), options_);
    parts[CodeSlot::resources] = seal;
    if (options_.entitlements) {
      parts[CodeSlot::entitlements] = options_.entitlements->propertyListBlob();
      parts[CodeSlot::entitlementsDER] = options_.entitlements->derBlob();
    }
    SignatureFiles files;
    for (const auto& [slot, part] : parts) files[fileName(slot)] = part;
    std::vector<CodeDirectory> directories;
    for (const CodeHashType type : hashTypes_) directories.push_back(makeDirectory(type, parts));
    files[fileName(CodeSlot::codeDirectory)] = directories.front().blob;
    for (std::size_t i = 1; i < directories.size(); ++i) {
      files[std::string(kAlternateCodeDirectoryFiles[i - 1])] = directories[i].blob;
    }
    files[fileName(CodeSlot::signature)] =
        options_.identity ? makeCMSSignature(directories, *options_.identity, options_.signingTime) : std::string();
    replaceSignatureFolder(layout_, files);
  }

  [[nodiscard]] static std::string fileName(CodeSlot slot) { return std::string(codeSlotFileName(slot).value()); }

  [[nodiscard]] CodeDirectory makeDirectory(CodeHashType type, const std::map<CodeSlot, std::string>& parts) const {
    CodeDirectory directory;
    directory.hashType = type;
    directory.flags = options_.identity ? 0 : kCodeDirectoryAdHocFlag;
    if (options_.isRuntimeHardened) directory.flags |= kCodeDirectoryRuntimeFlag;
    directory.identifier = signingIdentifier(object_, options_);
    if (options_.identity) directory.team = options_.identity->team();
    const CodeRepresentation& code = object_.native();
    directory.codeLimit = code.codeLength();
    if (layout_.hasInformation) {
      directory.specialHashes[CodeSlot::infoPropertyList] = codeHash(type, layout_.informationBytes);
    }
    for (const auto& [slot, part] : parts) directory.specialHashes[slot] = codeHash(type, part);
    const auto read = [&code](std::uint64_t offset, std::span<char> block) { return code.readCode(offset, block); };
    directory.pageHashes = hashCodePages(read, directory.codeLimit, directory.pageSizeLog2, {type}).front();
    return parseCodeDirectory(buildCodeDirectory(directory));
  }

  void signNestedCode();
  void signNested(const CodeObject& nested, const std::string& path) const;
  [[nodiscard]] CodeObject signOrKeepNested(const std::string& path, const std::string& absolutePath) const;

  std::string sealResources() {
    ResourceSeal seal{.version = 2, .rules = ResourceRules::standard(2, layout_.hasResourcesFolder()), .resources = {}};
    std::vector<std::string> paths;
    for (const ScannedResource& resource : scanned_) {
      SealedResource sealed{.isOptional = resource.isOptional};
      if (resource.kind == ScannedResourceKind::file) {
        paths.push_back(resource.path);
      } else if (resource.kind == ScannedResourceKind::link) {
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

  void checkLinks() const {
    for (const ScannedResource& resource : scanned_) {
      if (resource.kind != ScannedResourceKind::link) continue;
      if (!isSealedDestination(outermost_.bundle()->bundle, joinedPath(support_, resource.path), resource.linkText,
                               scopes_)) {
        fail(CodeSignatureErrorCode::invalidLinkDestination, resource.path);
      }
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

  const CodeObject& object_;
  const BundleLayout& layout_;
  const CodeObject& outermost_;
  std::vector<SealedScope> scopes_;
  std::string support_;
  const SigningOptions& options_;
  ResourceRules rules_;
  std::set<CodeHashType> hashTypes_;
  std::vector<ScannedResource> scanned_;
  std::map<std::string, NestedCode> nested_;
};

void BundleSigning::signNested(const CodeObject& nested, const std::string& path) const {
  SigningOptions options = options_;
  options.identifier.clear();
  options.entitlements.reset();
  if (nested.bundle() != nullptr) {
    BundleSigning(nested, outermost_, scopes_, joinedPath(support_, path), options).run();
    return;
  }
  const FilePlace place(path);
  signSingleFile(nested, openFolderBeneath(layout_.support.get(), place.folder), place.name, options);
}

/// The nested code at `path`, signed.
CodeObject BundleSigning::signOrKeepNested(const std::string& path, const std::string& absolutePath) const {
  CodeObject nested = CodeObject::openNested(layout_.support, path, absolutePath);
  if (!options_.signsNestedCode && isSigned(nested)) return nested;
  signNested(nested, path);
  // Signing has put other files in the place of those that are open.
  return CodeObject::openNested(layout_.support, path, absolutePath);
}

/// Nested code is verified as its own outermost code, but with links into the bundles around it allowed.
void BundleSigning::signNestedCode() {
  for (const ScannedResource& resource : scanned_) {
    if (resource.kind != ScannedResourceKind::nestedCode) continue;
    const std::string absolutePath = layout_.supportPath() + "/" + resource.path;
    try {
      const CodeObject nested = signOrKeepNested(resource.path, absolutePath);
      CodeSignatureVerifier verifier(outermost_, {});
      const std::vector<LoadedSignature> signatures =
          verifier.verifyNested(nested, joinedPath(support_, resource.path), scopes_);
      nested_[resource.path] = {.requirement = requirementText(designatedRequirement(signatures)),
                                .codeDirectoryHash = signatures.front().best().identifyingHash()};
    } catch (const CodeSignatureError& error) {
      throw error.inSubcomponent(absolutePath);
    } catch (const MachOSpaceError& error) {
      throw QuillonError(error.description() + " (" + absolutePath + ")");
    }
  }
}

}  // namespace

SignedCode signCode(const QuillonURL& item, const SigningOptions& options) {
  const CodeObject object = CodeObject::openAt(item);
  if (!options.replacesSignature && isSigned(object)) throw CodeAlreadySignedError();
  if (object.bundle() != nullptr) {
    BundleSigning(object, object, {}, {}, options).run();
  } else {
    const FilePlace place(object.path());
    signSingleFile(object, openFolder(AT_FDCWD, place.folder.empty() ? "/" : place.folder), place.name, options);
  }
  return {.identifier = signingIdentifier(object, options), .format = object.formatName()};
}

}  // namespace quillon
